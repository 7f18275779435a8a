import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Kalvo

// The language model's view of one instrument: verdict, trade setup, three
// scenarios, drivers, catalysts and risks, and the flow notes.
Rectangle {
    id: view

    property string pair
    // As InstrumentAnalysisRequest.result gives it.
    property var analysis: ({})
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

                Column {
                    Layout.fillWidth: true
                    spacing: 4

                    MonoText {
                        text: "◈  KI INSTRUMENT-ANALYSE"
                        size: 10
                        font.bold: true
                        color: Theme.purple
                    }

                    MonoText {
                        objectName: "analysisPair"
                        text: view.pair
                        size: 18
                        font.bold: true
                        color: Theme.white
                    }
                }

                PlainButton {
                    objectName: "analysisClose"
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
            objectName: "analysisScroller"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            contentWidth: width
            contentHeight: body.implicitHeight + 32
            boundsBehavior: Flickable.StopAtBounds

            ScrollBar.vertical: ScrollBar {}

            ColumnLayout {
                id: body
                x: 16
                y: 16
                width: scroller.width - 32
                spacing: 14

                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 6

                    RowLayout {
                        spacing: 14

                        MonoText {
                            objectName: "verdict"
                            text: view.analysis.verdict ?? ""
                            size: 14
                            font.bold: true
                            color: view.analysis.verdictColor ?? Theme.yellow
                        }

                        MonoText {
                            objectName: "confidence"
                            text: view.analysis.confidence ?? ""
                            size: 11
                            color: Theme.textSecondary
                        }
                    }

                    MonoText {
                        objectName: "analysisSummary"
                        Layout.fillWidth: true
                        visible: text !== ""
                        text: view.analysis.summary ?? ""
                        wrapMode: Text.Wrap
                        size: 11
                    }
                }

                Caption {
                    text: "TRADE SETUP"
                }

                SetupBox {
                    Layout.fillWidth: true
                    analysis: view.analysis
                }

                Caption {
                    text: "SZENARIEN"
                }

                RowLayout {
                    Layout.fillWidth: true
                    spacing: 8

                    Repeater {
                        model: view.analysis.scenarios ?? []

                        ScenarioBox {
                            required property var modelData
                            Layout.fillWidth: true
                            Layout.preferredWidth: 1
                            Layout.fillHeight: true
                            label: modelData.label
                            prob: modelData.prob
                            trigger: modelData.trigger
                            tint: modelData.color
                        }
                    }
                }

                BulletSection {
                    objectName: "macroDrivers"
                    Layout.fillWidth: true
                    title: "MAKRO-TREIBER"
                    items: view.analysis.macroDrivers ?? []
                    bulletColor: Theme.blue
                }

                BulletSection {
                    objectName: "catalysts"
                    Layout.fillWidth: true
                    title: "KATALYSATOREN"
                    items: view.analysis.catalysts ?? []
                    bulletColor: Theme.yellow
                }

                BulletSection {
                    objectName: "analysisRisks"
                    Layout.fillWidth: true
                    title: "RISIKEN"
                    items: view.analysis.risks ?? []
                    bulletColor: Theme.orange
                }

                InfoRow {
                    objectName: "flowAnalysis"
                    Layout.fillWidth: true
                    label: "ORDERFLOW"
                    value: view.analysis.flowAnalysis ?? ""
                }

                InfoRow {
                    objectName: "positioning"
                    Layout.fillWidth: true
                    label: "POSITIONIERUNG"
                    value: view.analysis.positioning ?? ""
                }

                InfoRow {
                    objectName: "momentum"
                    Layout.fillWidth: true
                    label: "MOMENTUM"
                    value: view.analysis.momentum ?? ""
                }
            }
        }
    }
}
