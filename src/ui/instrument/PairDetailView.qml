import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Kalvo

// The sheet of one instrument: price and change, four figures, related
// headlines, the currencies involved and the button that asks the language
// model for an analysis, which opens in a sheet of its own above this one.
Rectangle {
    id: view

    required property var appState
    required property string pair
    property bool showAnalysis: false
    signal closeRequested()

    color: Theme.background
    radius: 8
    clip: true

    InstrumentDetail {
        id: detail
        objectName: "instrumentDetail"
        appState: view.appState
        pair: view.pair
    }

    InstrumentAnalysisRequest {
        id: request
        objectName: "instrumentAnalysis"
        appState: view.appState
        pair: view.pair
        // Without an answer the sheet stays as it was.
        onFinished: (found) => { if (found) view.showAnalysis = true }
    }

    // Ages of the quote and the headlines move on while the sheet is open.
    Timer {
        interval: 10000
        repeat: true
        running: true
        onTriggered: detail.refresh()
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        Rectangle {
            Layout.fillWidth: true
            implicitHeight: headerRow.implicitHeight + 40
            color: Theme.headerBackground

            RowLayout {
                id: headerRow
                anchors { fill: parent; margins: 20 }

                MonoText {
                    objectName: "pairTitle"
                    Layout.fillWidth: true
                    text: view.pair
                    size: 18
                    font.bold: true
                    color: Theme.white
                }

                PlainButton {
                    objectName: "pairClose"
                    onClicked: view.closeRequested()

                    SvgIcon {
                        name: "close"
                        size: 14
                        color: Theme.textMuted
                    }
                }
            }

            Divider {
                anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
            }
        }

        Flickable {
            id: scroller
            objectName: "pairScroller"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            contentWidth: width
            contentHeight: body.implicitHeight + 40
            boundsBehavior: Flickable.StopAtBounds

            ScrollBar.vertical: ScrollBar {}

            ColumnLayout {
                id: body
                x: 20
                y: 20
                width: scroller.width - 40
                spacing: 16

                RowLayout {
                    Layout.fillWidth: true
                    spacing: 14

                    MonoText {
                        objectName: "pairPrice"
                        Layout.alignment: Qt.AlignBaseline
                        text: detail.priceText
                        size: 28
                        font.bold: true
                        color: detail.changeColor
                    }

                    MonoText {
                        objectName: "pairChange"
                        Layout.alignment: Qt.AlignBaseline
                        visible: text !== ""
                        text: detail.changeText
                        size: 14
                        color: detail.changeColor
                    }

                    Item {
                        Layout.fillWidth: true
                    }

                    MonoText {
                        objectName: "pairUpdated"
                        Layout.alignment: Qt.AlignBaseline
                        text: "Aktualisiert: " + detail.ageText
                        size: 10
                        color: Theme.textMuted
                    }
                }

                RowLayout {
                    Layout.fillWidth: true
                    spacing: 8

                    StatBox {
                        objectName: "statPrice"
                        Layout.fillWidth: true
                        Layout.preferredWidth: 1
                        label: "KURS"
                        value: detail.priceText
                    }

                    StatBox {
                        objectName: "statChange"
                        Layout.fillWidth: true
                        Layout.preferredWidth: 1
                        label: "Δ"
                        value: detail.hasQuote ? detail.changeText : "—"
                        valueColor: detail.changeColor
                    }

                    StatBox {
                        objectName: "statDirection"
                        Layout.fillWidth: true
                        Layout.preferredWidth: 1
                        label: "RICHTUNG"
                        value: detail.directionText
                        valueColor: detail.changeColor
                    }

                    StatBox {
                        objectName: "statUpdated"
                        Layout.fillWidth: true
                        Layout.preferredWidth: 1
                        label: "LAST UPD"
                        value: detail.ageText
                        valueColor: Theme.textSecondary
                    }
                }

                SectionBox {
                    objectName: "relatedSection"
                    Layout.fillWidth: true
                    title: "VERWANDTE NEWS"

                    Repeater {
                        model: detail.relatedNews

                        NewsCompactRow {
                            required property var modelData
                            Layout.fillWidth: true
                            item: modelData
                        }
                    }

                    Row {
                        objectName: "noRelatedNews"
                        visible: detail.relatedNews.length === 0
                        spacing: 8

                        SvgIcon {
                            anchors.verticalCenter: parent.verticalCenter
                            name: "news"
                            size: 14
                            color: Theme.textMuted
                        }

                        MonoText {
                            objectName: "noRelatedNewsText"
                            anchors.verticalCenter: parent.verticalCenter
                            text: "Keine aktuellen News für " + view.pair
                            size: 11
                            color: Theme.textMuted
                        }
                    }
                }

                Repeater {
                    model: detail.currencyCards

                    CurrencyInfoCard {
                        required property var modelData
                        Layout.fillWidth: true
                        info: modelData
                    }
                }

                PlainButton {
                    objectName: "analysisButton"
                    Layout.fillWidth: true
                    implicitWidth: 200
                    implicitHeight: 36
                    enabled: !request.busy
                    // The button keeps its look while it works; only the label gives way.
                    opacity: pressed ? 0.6 : 1
                    onClicked: request.start()

                    Rectangle {
                        anchors.fill: parent
                        radius: 6
                        color: Theme.withOpacity(Theme.colorFromHex("#1a1028"), 0.85)
                        border.width: 1
                        border.color: Theme.withOpacity(Theme.purple, 0.4)

                        Row {
                            objectName: "analysisLabel"
                            anchors.centerIn: parent
                            visible: !request.busy
                            spacing: 8

                            SvgIcon {
                                anchors.verticalCenter: parent.verticalCenter
                                name: "ai-analysis"
                                size: 12
                                color: Theme.purple
                            }

                            MonoText {
                                anchors.verticalCenter: parent.verticalCenter
                                text: "KI ANALYSE"
                                size: 10
                                font.bold: true
                                font.letterSpacing: 1
                                color: Theme.purple
                            }
                        }

                        Spinner {
                            objectName: "analysisSpinner"
                            anchors.centerIn: parent
                            visible: request.busy
                            diameter: 14
                            color: Theme.purple
                        }
                    }
                }

                MonoText {
                    objectName: "disclaimer"
                    Layout.fillWidth: true
                    text: "Hinweis: Keine Anlageberatung — immer eigenes Risiko und Kontext (Trend, Korrelationen, andere Termine) beachten."
                    wrapMode: Text.Wrap
                    size: 9
                    color: Theme.textMuted
                }
            }
        }
    }

    Sheet {
        id: analysisSheet
        objectName: "analysisSheet"
        parent: Overlay.overlay
        width: 660
        // Everything at once when the window is tall enough; it scrolls otherwise.
        height: Math.min(760, parent ? parent.height - 40 : 540)
        shown: view.showAnalysis
        onDismissed: view.showAnalysis = false

        InstrumentAnalysisView {
            anchors.fill: parent
            pair: view.pair
            analysis: request.result
            onCloseRequested: analysisSheet.close()
        }
    }
}
