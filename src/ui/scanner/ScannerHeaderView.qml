import QtQuick
import QtQuick.Layouts
import Kalvo

// The scanner's title with the risk mood below it, and the open sessions
// on the right.
Rectangle {
    id: header

    required property var summary

    implicitHeight: content.implicitHeight + 16
    color: Theme.headerBackground

    RowLayout {
        id: content
        anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter
                  leftMargin: 12; rightMargin: 12 }

        ColumnLayout {
            spacing: 3

            MonoText {
                text: "INTELLIGENCE SCANNER"
                size: 9
                font.bold: true
                font.letterSpacing: 1.5
                color: Theme.textMuted
            }

            MonoText {
                objectName: "riskLabel"
                text: header.summary.riskLabel
                size: 11
                font.bold: true
                color: header.summary.riskColor
            }
        }

        Item {
            Layout.fillWidth: true
        }

        ColumnLayout {
            objectName: "sessionLabels"
            Layout.alignment: Qt.AlignVCenter
            spacing: 1

            Repeater {
                model: header.summary.sessions

                MonoText {
                    required property string modelData

                    objectName: "session:" + modelData
                    Layout.alignment: Qt.AlignRight
                    text: modelData
                    size: 9
                    color: Theme.blue
                }
            }
        }
    }
}
