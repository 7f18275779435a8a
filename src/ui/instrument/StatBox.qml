import QtQuick
import Kalvo

// A small labelled figure of the pair sheet: the label above the value.
Rectangle {
    id: box

    property alias label: labelText.text
    property alias value: valueText.text
    property color valueColor: Theme.textPrimary

    implicitWidth: Math.max(labelText.implicitWidth, valueText.implicitWidth) + 20
    implicitHeight: labelText.implicitHeight + valueText.implicitHeight + 4 + 16
    radius: 4
    color: Theme.cardBackground

    Column {
        anchors { left: parent.left; right: parent.right; top: parent.top; margins: 8; leftMargin: 10 }
        spacing: 4

        MonoText {
            id: labelText
            objectName: "statLabel"
            size: 8
            font.bold: true
            font.letterSpacing: 1
            color: Theme.textMuted
        }

        MonoText {
            id: valueText
            objectName: "statValue"
            width: parent.width
            elide: Text.ElideRight
            size: 12
            font.bold: true
            color: box.valueColor
        }
    }
}
