import QtQuick
import QtQuick.Layouts
import Kalvo

// The detail of the selected headline under its header bar.
Rectangle {
    id: panel

    required property var appState
    // True while the panel slides away after the selection was cleared: it
    // keeps showing the headline it showed.
    property bool closing: false

    // Only with an AI client; the spinner replaces the buttons while one runs.
    function startDeepAnalysis() {
        if (appState.aiAvailable && selection.present && !appState.isAnalyzingDetail)
            appState.runDetailAnalysis(selection.item.newsId)
    }

    color: Theme.panelBackground

    NewsSelection {
        id: selection
        objectName: "newsSelection"
        appState: panel.appState
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: 30
            color: Theme.headerBackground

            RowLayout {
                anchors { fill: parent; leftMargin: 12; rightMargin: 12 }
                spacing: 8

                MonoText {
                    text: "◈ DETAIL"
                    size: Theme.monoCaption.pixelSize
                    font.bold: true
                    font.letterSpacing: 1.5
                    color: Theme.purple
                }

                Item {
                    Layout.fillWidth: true
                }

                Spinner {
                    objectName: "headerSpinner"
                    Layout.rightMargin: 4
                    visible: panel.appState.isAnalyzingDetail
                    diameter: 13
                }

                DeepAnalysisButton {
                    objectName: "headerDeepAnalysis"
                    visible: !panel.appState.isAnalyzingDetail
                    onClicked: panel.startDeepAnalysis()
                }

                PlainButton {
                    objectName: "detailClose"
                    onClicked: panel.appState.selectNews("")

                    SvgIcon {
                        name: "close"
                        size: 11
                        color: Theme.textMuted
                    }
                }
            }

            Divider {
                anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
            }
        }

        DetailContentView {
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: selection.present || panel.closing
            item: selection.item
            elapsed: selection.elapsed
            analyzing: panel.appState.isAnalyzingDetail
            onDeepAnalysisRequested: panel.startDeepAnalysis()
        }

        EmptyDetailView {
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: !selection.present && !panel.closing
        }
    }

    // The published time reads relative to now and moves on with it.
    Timer {
        interval: 1000
        repeat: true
        running: selection.present
        onTriggered: selection.refreshElapsed()
    }
}
