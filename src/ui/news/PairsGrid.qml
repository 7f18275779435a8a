import QtQuick
import QtQuick.Layouts
import Kalvo

// The affected pairs in as many columns of at least 120 as fit, in
// alphabetical order: name, arrow and direction in the direction's colour.
Item {
    id: grid

    // Entries as NewsListModel's "pairs" role gives them.
    property var pairs: []
    readonly property real spacing: 8
    readonly property int columns: Math.max(1, Math.floor((width + spacing) / (120 + spacing)))
    readonly property real cellWidth: (width - (columns - 1) * spacing) / columns

    implicitHeight: layout.implicitHeight

    GridLayout {
        id: layout
        width: grid.width
        columns: grid.columns
        columnSpacing: grid.spacing
        rowSpacing: grid.spacing

        Repeater {
            model: grid.pairs

            Rectangle {
                id: pairCell

                required property var modelData

                objectName: "pairCell:" + modelData.pair
                Layout.preferredWidth: grid.cellWidth
                Layout.fillWidth: true
                implicitHeight: cell.implicitHeight + 10
                radius: 4
                color: Theme.cardBackground

                Row {
                    id: cell
                    anchors { left: parent.left; leftMargin: 8; verticalCenter: parent.verticalCenter }
                    spacing: 6

                    MonoText {
                        anchors.verticalCenter: parent.verticalCenter
                        text: pairCell.modelData.pair
                        size: 11
                        font.bold: true
                    }

                    MonoText {
                        objectName: "pairArrow"
                        anchors.verticalCenter: parent.verticalCenter
                        text: pairCell.modelData.arrow
                        size: 9
                        color: pairCell.modelData.color
                    }

                    MonoText {
                        objectName: "pairDirection"
                        anchors.verticalCenter: parent.verticalCenter
                        text: pairCell.modelData.direction
                        size: 9
                        color: pairCell.modelData.color
                    }
                }
            }
        }
    }
}
