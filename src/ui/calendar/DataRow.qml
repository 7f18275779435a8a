import QtQuick
import QtQuick.Layouts
import Kalvo

// One line of the event sheet: the key in a column on the left, the value
// on the right, yellow when highlighted.
Rectangle {
    id: dataRow

    property string key
    property string value
    property bool highlight: false
    property bool bold: false
    // The value's colour when it is not highlighted.
    property color valueColor: Theme.textPrimary

    objectName: "dataRow:" + key
    implicitHeight: line.implicitHeight + 14
    color: Theme.cardBackground

    RowLayout {
        id: line
        anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter
                  leftMargin: 12; rightMargin: 12 }
        spacing: 12

        MonoText {
            objectName: "dataKey"
            Layout.preferredWidth: 170
            Layout.alignment: Qt.AlignTop
            text: dataRow.key
            size: 11
            color: Theme.textMuted
        }

        MonoText {
            objectName: "dataValue"
            Layout.fillWidth: true
            text: dataRow.value
            wrapMode: Text.Wrap
            size: 12
            font.bold: dataRow.bold
            color: dataRow.highlight ? Theme.yellow : dataRow.valueColor
        }
    }
}
