import QtQuick
import QtQuick.Layouts
import Kalvo

// Bias, entry, stop and target of the suggested trade.
Rectangle {
    id: setup

    // A map with "bias", "entry", "stop" and "target".
    property var strategy: ({})

    implicitHeight: rows.implicitHeight + 20
    radius: 6
    color: Theme.cardBackground

    ColumnLayout {
        id: rows
        anchors { left: parent.left; right: parent.right; top: parent.top; margins: 10 }
        spacing: 4

        Repeater {
            model: [
                { label: "Bias", key: "bias", color: Theme.yellow, weight: Font.DemiBold },
                { label: "Entry", key: "entry", color: Theme.textPrimary, weight: Font.Normal },
                { label: "Stop", key: "stop", color: Theme.red, weight: Font.Normal },
                { label: "Target", key: "target", color: Theme.green, weight: Font.Normal }
            ]

            RowLayout {
                id: setupRow

                required property var modelData

                spacing: 0

                MonoText {
                    Layout.preferredWidth: 60
                    text: setupRow.modelData.label
                    size: Theme.monoCaption.pixelSize
                    color: Theme.textMuted
                }

                MonoText {
                    objectName: "setup:" + setupRow.modelData.key
                    Layout.fillWidth: true
                    text: setup.strategy[setupRow.modelData.key] ?? ""
                    wrapMode: Text.Wrap
                    size: Theme.monoCaption.pixelSize
                    font.weight: setupRow.modelData.weight
                    color: setupRow.modelData.color
                }
            }
        }
    }
}
