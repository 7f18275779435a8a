import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Kalvo

// The language model's short view of the whole market: risk mood and top
// instrument, a few sentences, the mood of four currencies and the themes.
Rectangle {
    id: view

    // As MarketOverviewContent.overview gives it.
    required property var overview
    signal closeRequested()

    color: Theme.background
    radius: 8
    clip: true

    component Caption: MonoText {
        size: 9
        font.bold: true
        font.letterSpacing: 1.5
        color: Theme.textMuted
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        Rectangle {
            Layout.fillWidth: true
            implicitHeight: headerRow.implicitHeight + 32
            color: Theme.headerBackground

            RowLayout {
                id: headerRow
                anchors { fill: parent; margins: 16 }
                spacing: 6

                SvgIcon {
                    name: "bar-chart"
                    size: 13
                    color: Theme.blue
                }

                MonoText {
                    text: "MARKTÜBERSICHT"
                    size: 13
                    font.bold: true
                    color: Theme.blue
                }

                Item {
                    Layout.fillWidth: true
                }

                TextButton {
                    objectName: "overviewClose"
                    text: "Schließen"
                    onClicked: view.closeRequested()
                }
            }

            Divider {
                anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
            }
        }

        Flickable {
            id: scroller
            objectName: "overviewScroller"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            contentWidth: width
            contentHeight: body.implicitHeight + 36
            boundsBehavior: Flickable.StopAtBounds

            ScrollBar.vertical: ScrollBar {}

            ColumnLayout {
                id: body
                x: 18
                y: 18
                width: scroller.width - 36
                spacing: 14

                RowLayout {
                    spacing: 12

                    Rectangle {
                        objectName: "sentimentChip"
                        implicitWidth: sentimentText.implicitWidth + 24
                        implicitHeight: sentimentText.implicitHeight + 10
                        radius: 4
                        color: Theme.withOpacity(sentimentText.color, 0.15)

                        MonoText {
                            id: sentimentText
                            objectName: "sentimentText"
                            anchors.centerIn: parent
                            text: view.overview.sentiment ?? ""
                            size: 13
                            font.bold: true
                            color: view.overview.sentimentColor ?? Theme.yellow
                        }
                    }

                    MonoText {
                        objectName: "topPair"
                        text: "Top: " + (view.overview.topPair ?? "")
                        size: 11
                        color: Theme.textSecondary
                    }
                }

                Rectangle {
                    Layout.fillWidth: true
                    implicitHeight: overviewText.implicitHeight + 28
                    radius: 6
                    color: Theme.cardBackground

                    MonoText {
                        id: overviewText
                        objectName: "overviewText"
                        anchors { left: parent.left; right: parent.right; top: parent.top; margins: 14 }
                        text: view.overview.text ?? ""
                        wrapMode: Text.Wrap
                        lineHeight: 1.25
                        font: Theme.monoCaption
                        color: Theme.textPrimary
                    }
                }

                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 8

                    Caption {
                        text: "WÄHRUNGS-SENTIMENT"
                    }

                    RowLayout {
                        objectName: "currencies"
                        Layout.fillWidth: true
                        spacing: 10

                        Repeater {
                            model: view.overview.currencies ?? []

                            Rectangle {
                                id: cell

                                required property var modelData

                                objectName: "currency" + modelData.code
                                Layout.fillWidth: true
                                implicitHeight: cellColumn.implicitHeight + 16
                                radius: 4
                                color: Theme.cardBackground

                                Column {
                                    id: cellColumn
                                    anchors { left: parent.left; top: parent.top; margins: 8 }
                                    spacing: 3

                                    MonoText {
                                        text: cell.modelData.code
                                        size: 11
                                        font.bold: true
                                        color: Theme.white
                                    }

                                    MonoText {
                                        objectName: "currencySentiment"
                                        text: cell.modelData.sentiment
                                        size: 9
                                        color: cell.modelData.color
                                    }
                                }
                            }
                        }
                    }
                }

                ColumnLayout {
                    objectName: "themes"
                    Layout.fillWidth: true
                    spacing: 6

                    Caption {
                        text: "MARKT-THEMEN"
                    }

                    Repeater {
                        model: view.overview.themes ?? []

                        RowLayout {
                            id: themeRow

                            required property string modelData

                            objectName: "themeRow"
                            Layout.fillWidth: true
                            spacing: 8

                            MonoText {
                                Layout.alignment: Qt.AlignTop
                                text: "▸"
                                size: 11
                                color: Theme.purple
                            }

                            MonoText {
                                Layout.fillWidth: true
                                text: themeRow.modelData
                                wrapMode: Text.Wrap
                                size: 11
                                color: Theme.textPrimary
                            }
                        }
                    }
                }
            }
        }
    }
}
