import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Kalvo

// The sheet that explains one calendar event: when it happens, its data and
// what kind of release it is. `detail` is CalendarEventSelection's map.
Sheet {
    id: sheet

    property var detail: ({})

    // Over the whole window, not over the panel that opens it.
    parent: Overlay.overlay
    width: 560
    height: Math.min(body.implicitHeight + 48, (parent ? parent.height : 800) - 60)

    Flickable {
        id: scroller
        anchors.fill: parent
        anchors.margins: 24
        contentWidth: width
        contentHeight: body.implicitHeight
        clip: true
        boundsBehavior: Flickable.StopAtBounds

        ColumnLayout {
            id: body
            width: scroller.width
            spacing: 16

            ColumnLayout {
                Layout.fillWidth: true
                spacing: 6

                MonoText {
                    objectName: "eventDetailHeader"
                    text: "◈  WIRTSCHAFTSKALENDER — DETAIL"
                    size: 10
                    color: Theme.purple
                }

                MonoText {
                    objectName: "eventDetailTitle"
                    Layout.fillWidth: true
                    text: sheet.detail.title ?? ""
                    wrapMode: Text.Wrap
                    size: 17
                    color: Theme.white
                }
            }

            RowLayout {
                objectName: "eventCountdown"
                visible: sheet.detail.hasCountdown ?? false
                spacing: 8

                LineSymbol {
                    objectName: "eventCountdownIcon"
                    name: sheet.detail.countdownUpcoming ? "clock" : "checkmarkCircle"
                    size: 13
                    color: sheet.detail.countdownIconColor ?? Theme.textMuted
                }

                MonoText {
                    objectName: "eventCountdownText"
                    text: sheet.detail.countdownText ?? ""
                    font: Theme.monoCaption
                    color: sheet.detail.countdownColor ?? Theme.textMuted
                }
            }

            Rectangle {
                Layout.fillWidth: true
                implicitHeight: rows.implicitHeight
                color: Theme.borderSubtle
                radius: 6
                clip: true

                Column {
                    id: rows
                    objectName: "eventDataRows"
                    width: parent.width
                    spacing: 1

                    Repeater {
                        model: sheet.detail.rows ?? []

                        DataRow {
                            required property var modelData

                            width: rows.width
                            key: modelData.key
                            value: modelData.value
                            highlight: modelData.highlight
                            bold: modelData.bold
                            valueColor: modelData.color
                        }
                    }
                }
            }

            ColumnLayout {
                objectName: "eventCategory"
                Layout.fillWidth: true
                spacing: 8

                MonoText {
                    objectName: "eventCategoryHeading"
                    text: "WAS IST DAS?"
                    size: 9
                    color: Theme.cyan
                }

                MonoText {
                    objectName: "eventCategoryTitle"
                    Layout.fillWidth: true
                    text: sheet.detail.categoryTitle ?? ""
                    wrapMode: Text.Wrap
                    size: 13
                    color: Theme.yellow
                }

                BulletList {
                    objectName: "eventExplanations"
                    Layout.fillWidth: true
                    items: sheet.detail.explanations ?? []
                    bulletColor: Theme.yellow
                }
            }

            Divider {
                Layout.fillWidth: true
                color: Theme.borderSubtle
            }

            RowLayout {
                Layout.fillWidth: true
                spacing: 16

                MonoText {
                    objectName: "eventDisclaimer"
                    Layout.fillWidth: true
                    text: "Hinweis: Keine Anlageberatung — immer eigenes Risiko und Kontext (Trend, "
                          + "Korrelationen, andere Termine am selben Tag) beachten."
                    wrapMode: Text.Wrap
                    size: 10
                    color: Theme.textMuted
                }

                PlainButton {
                    objectName: "eventDetailClose"
                    Layout.alignment: Qt.AlignBottom
                    onClicked: sheet.close()

                    Rectangle {
                        width: closeLabel.implicitWidth + 24
                        height: closeLabel.implicitHeight + 10
                        radius: 4
                        color: Theme.cardBackground
                        border.color: Theme.border

                        MonoText {
                            id: closeLabel
                            anchors.centerIn: parent
                            text: "Schließen"
                            size: 11
                            font.bold: true
                            color: Theme.textPrimary
                        }
                    }
                }
            }
        }
    }
}
