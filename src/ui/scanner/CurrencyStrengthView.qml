import QtQuick
import QtQuick.Layouts
import Kalvo

// The strength of each currency, strongest first, as signed values.
Rectangle {
    id: strip

    // Each a map with "currency", "text" and "color" (ScannerSummary.strengths).
    property var strengths: []

    implicitHeight: content.implicitHeight + 16
    color: Theme.cardBackground

    ColumnLayout {
        id: content
        anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter
                  leftMargin: 10; rightMargin: 10 }
        spacing: 6

        MonoText {
            text: "WÄHRUNGSSTÄRKE"
            size: 9
            font.bold: true
            font.letterSpacing: 1.5
            color: Theme.textMuted
        }

        RowLayout {
            objectName: "strengthCells"
            spacing: 10

            Repeater {
                model: strip.strengths

                ColumnLayout {
                    id: cell

                    required property var modelData

                    objectName: "strength:" + modelData.currency
                    spacing: 2

                    MonoText {
                        Layout.alignment: Qt.AlignHCenter
                        text: cell.modelData.currency
                        size: 9
                        font.bold: true
                        color: Theme.textSecondary
                    }

                    MonoText {
                        objectName: "strengthValue"
                        Layout.alignment: Qt.AlignHCenter
                        text: cell.modelData.text
                        size: 10
                        font.bold: true
                        color: cell.modelData.color
                    }
                }
            }
        }
    }
}
