import QtQuick
import QtQuick.Layouts
import Kalvo

// One headline of the list: score square, title, the model's one-line
// analysis, source, age, urgency and direction. A click selects it.
Rectangle {
    id: row

    required property string newsId
    required property string displayTitle
    required property string analysisText
    required property string source
    required property string age
    required property string urgencyGlyph
    required property string directionGlyph
    required property color directionColor
    required property real effectiveScore
    required property string scoreText
    required property bool highImpact
    property var appState

    readonly property bool isSelected: appState !== null && appState !== undefined
                                       && appState.selectedNewsId === newsId
    readonly property color scoreColor: Theme.scoreColor(effectiveScore)

    objectName: "newsRow:" + newsId
    implicitHeight: content.implicitHeight + 14 + 1
    color: isSelected ? Theme.selectionBackground : highImpact ? "#160a0a" : "transparent"

    RowLayout {
        id: content
        anchors { left: parent.left; right: parent.right; top: parent.top
                  leftMargin: 10; rightMargin: 10; topMargin: 7 }
        spacing: 8

        Rectangle {
            objectName: "scoreSquare"
            Layout.alignment: Qt.AlignTop
            implicitWidth: 20
            implicitHeight: 20
            radius: 3
            color: row.scoreText !== "" ? Theme.withOpacity(row.scoreColor, 0.15) : Theme.cardBackground

            MonoText {
                objectName: "scoreText"
                anchors.centerIn: parent
                text: row.scoreText
                size: 10
                font.bold: true
                color: row.scoreColor
            }
        }

        ColumnLayout {
            Layout.fillWidth: true
            Layout.alignment: Qt.AlignTop
            spacing: 4

            MonoText {
                objectName: "rowTitle"
                Layout.fillWidth: true
                text: row.displayTitle
                wrapMode: Text.Wrap
                size: 12
                color: row.isSelected ? Theme.white : Theme.textPrimary
            }

            MonoText {
                objectName: "rowAnalysis"
                Layout.fillWidth: true
                visible: text !== ""
                text: row.analysisText
                wrapMode: Text.Wrap
                size: 10
                color: Theme.textSecondary
            }

            RowLayout {
                Layout.fillWidth: true
                spacing: 6

                MonoText {
                    objectName: "rowSource"
                    text: row.source.toUpperCase()
                    size: 9
                    font.bold: true
                    font.letterSpacing: 1
                    color: Theme.textMuted
                }

                MonoText {
                    objectName: "rowAge"
                    text: row.age
                    size: 9
                    color: Theme.textMuted
                }

                Item {
                    Layout.fillWidth: true
                }

                MonoText {
                    objectName: "rowUrgency"
                    visible: text !== ""
                    text: row.urgencyGlyph
                    size: 9
                    font.family: Theme.emojiFamily
                }

                MonoText {
                    objectName: "rowDirection"
                    visible: text !== ""
                    text: row.directionGlyph
                    size: 10
                    font.bold: true
                    color: row.directionColor
                }
            }
        }
    }

    Divider {
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        color: Theme.borderSubtle
    }

    MouseArea {
        anchors.fill: parent
        cursorShape: Qt.PointingHandCursor
        onClicked: row.appState.selectNews(row.newsId)
    }
}
