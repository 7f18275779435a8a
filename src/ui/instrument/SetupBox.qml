import QtQuick
import QtQuick.Layouts
import Kalvo

// The trade the analysis suggests: entry, stop, two targets, risk/reward
// and time frame, each a label above its value.
Rectangle {
    id: box

    // As InstrumentAnalysisRequest.result gives it.
    property var analysis: ({})

    implicitHeight: grid.implicitHeight + 24
    radius: 6
    color: Theme.cardBackground

    GridLayout {
        id: grid
        anchors { left: parent.left; right: parent.right; top: parent.top; margins: 12 }
        columns: 3
        columnSpacing: 12
        rowSpacing: 10

        Repeater {
            model: [
                { label: "ENTRY", key: "entryZone", color: Theme.blue },
                { label: "STOP", key: "stop", color: Theme.red },
                { label: "TARGET 1", key: "target1", color: Theme.green },
                { label: "TARGET 2", key: "target2", color: Theme.green },
                { label: "R/R", key: "riskReward", color: Theme.yellow },
                { label: "ZEITRAHMEN", key: "timeframe", color: Theme.textSecondary }
            ]

            ColumnLayout {
                id: cell

                required property var modelData

                Layout.fillWidth: true
                Layout.preferredWidth: 1
                spacing: 3

                MonoText {
                    text: cell.modelData.label
                    size: 8
                    font.bold: true
                    font.letterSpacing: 1
                    color: Theme.textMuted
                }

                MonoText {
                    objectName: "setupBox:" + cell.modelData.key
                    Layout.fillWidth: true
                    text: box.analysis[cell.modelData.key] ?? ""
                    wrapMode: Text.Wrap
                    size: 12
                    font.bold: true
                    color: cell.modelData.color
                }
            }
        }
    }
}
