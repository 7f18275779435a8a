import QtQuick
import QtQuick.Layouts
import Kalvo

// One trade opportunity: score ring, instrument, direction, warning, how
// many headlines name it, and the reasons. Strong setups are set off.
Rectangle {
    id: row

    required property string pair
    required property real score
    required property string scoreText
    required property color scoreColor
    required property bool highlighted
    required property string directionLabel
    required property color directionColor
    required property bool warning
    required property string newsCountText
    required property var reasons

    objectName: "opportunity:" + pair
    implicitHeight: content.implicitHeight + 14 + 1
    color: highlighted ? Theme.withOpacity(Theme.cardBackground, 0.5) : "transparent"

    RowLayout {
        id: content
        anchors { left: parent.left; right: parent.right; top: parent.top
                  leftMargin: 10; rightMargin: 10; topMargin: 7 }
        spacing: 10

        ScoreRing {
            objectName: "scoreRing"
            Layout.alignment: Qt.AlignTop
            score: row.score
            text: row.scoreText
            color: row.scoreColor
        }

        ColumnLayout {
            objectName: "opportunityBody"
            Layout.fillWidth: true
            Layout.alignment: Qt.AlignTop
            spacing: 3

            RowLayout {
                spacing: 8

                MonoText {
                    objectName: "opportunityPair"
                    text: row.pair
                    size: 12
                    font.bold: true
                    color: Theme.white
                }

                MonoText {
                    objectName: "opportunityDirection"
                    text: row.directionLabel
                    size: 10
                    font.bold: true
                    color: row.directionColor
                }

                MonoText {
                    objectName: "opportunityWarning"
                    visible: row.warning
                    text: "⚠"
                    size: 10
                    color: Theme.yellow
                }

                MonoText {
                    objectName: "opportunityNewsCount"
                    text: row.newsCountText
                    size: 8
                    color: Theme.textMuted
                }
            }

            Repeater {
                model: row.reasons

                MonoText {
                    required property string modelData

                    objectName: "reason"
                    Layout.fillWidth: true
                    text: "• " + modelData
                    wrapMode: Text.Wrap
                    size: 9
                    color: Theme.textSecondary
                }
            }
        }
    }

    Divider {
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        color: Theme.borderSubtle
    }
}
