import QtQuick
import QtQuick.Layouts
import Kalvo

// One scenario of the analysis: its name, probability and trigger on a
// faint tint of its colour.
Rectangle {
    id: box

    property string label
    property string prob
    property string trigger
    property color tint: Theme.yellow

    objectName: "scenario:" + label
    implicitHeight: lines.implicitHeight + 20
    radius: 6
    color: Theme.withOpacity(tint, 0.06)
    border.width: 1
    border.color: Theme.withOpacity(tint, 0.2)

    ColumnLayout {
        id: lines
        anchors { left: parent.left; right: parent.right; top: parent.top; margins: 10 }
        spacing: 4

        MonoText {
            text: box.label
            size: 9
            font.bold: true
            font.letterSpacing: 1
            color: box.tint
        }

        MonoText {
            objectName: "scenarioProb"
            text: box.prob
            size: 11
            font.bold: true
            color: box.tint
        }

        MonoText {
            objectName: "scenarioTrigger"
            Layout.fillWidth: true
            text: box.trigger
            wrapMode: Text.Wrap
            size: 10
            color: Theme.textSecondary
        }
    }
}
