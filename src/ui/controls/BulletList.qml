import QtQuick
import QtQuick.Layouts
import Kalvo

// One line per text, each after a bullet in the list's colour.
ColumnLayout {
    id: list

    property var items: []
    property color bulletColor: Theme.blue

    spacing: 4

    Repeater {
        model: list.items

        RowLayout {
            id: bulletRow

            required property string modelData

            Layout.fillWidth: true
            spacing: 6

            MonoText {
                Layout.alignment: Qt.AlignTop
                text: "•"
                size: Theme.monoCaption.pixelSize
                color: list.bulletColor
            }

            MonoText {
                Layout.fillWidth: true
                text: bulletRow.modelData
                wrapMode: Text.Wrap
                size: Theme.monoCaption.pixelSize
            }
        }
    }
}
