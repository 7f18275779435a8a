import QtQuick
import QtQuick.Layouts
import Kalvo

// Top bar, the three columns (prices, news, calendar or scanner) and the
// status bar. Owns the list model every news view shares.
Rectangle {
    id: root

    required property var appState
    property bool showSessionDialog: false

    color: Theme.background

    NewsListModel {
        id: newsModel
        appState: root.appState
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        TopBarView {
            objectName: "topBar"
            Layout.fillWidth: true
            Layout.preferredHeight: 48
            appState: root.appState
            onSessionBadgeClicked: root.showSessionDialog = true
        }

        Divider {
            Layout.fillWidth: true
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: 0

            PricePanelView {
                objectName: "leftColumn"
                Layout.preferredWidth: 280
                Layout.fillHeight: true
                appState: root.appState
            }

            Divider {
                vertical: true
                Layout.fillHeight: true
            }

            CenterColumnView {
                objectName: "centerColumn"
                Layout.fillWidth: true
                Layout.fillHeight: true
                appState: root.appState
                newsModel: newsModel
            }

            Divider {
                vertical: true
                Layout.fillHeight: true
            }

            RightColumnView {
                objectName: "rightColumn"
                Layout.preferredWidth: 360
                Layout.fillHeight: true
                appState: root.appState
            }
        }

        StatusBarView {
            objectName: "statusBar"
            Layout.fillWidth: true
            Layout.preferredHeight: 22
            appState: root.appState
            newsModel: newsModel
        }
    }

    // Sheets come here, each a Sheet bound to what opens it, in this order:
    // settings (appState.showSettings), trading sessions (showSessionDialog),
    // live briefing (appState.liveBriefing), market overview
    // (appState.marketOverview). Dismissing one clears its flag or value.

    Sheet {
        id: settingsSheet
        objectName: "settingsSheet"
        width: 520
        height: 640
        shown: root.appState.showSettings
        onDismissed: root.appState.showSettings = false

        // A fresh view, and so a fresh working copy, at every opening.
        Loader {
            anchors.fill: parent
            active: settingsSheet.shown
            sourceComponent: SettingsView {
                appState: root.appState
                onCloseRequested: settingsSheet.close()
            }
        }
    }

    Sheet {
        id: sessionSheet
        objectName: "sessionSheet"
        width: 860
        height: 420
        shown: root.showSessionDialog
        onDismissed: root.showSessionDialog = false

        Loader {
            anchors.fill: parent
            active: sessionSheet.shown
            sourceComponent: SessionInfoView {
                appState: root.appState
                onCloseRequested: sessionSheet.close()
            }
        }
    }

    LiveBriefingContent {
        id: briefingContent
        objectName: "briefingContent"
        appState: root.appState
    }

    Sheet {
        id: briefingSheet
        objectName: "briefingSheet"
        width: 640
        height: 580
        shown: briefingContent.present
        onDismissed: briefingContent.clear()

        // One view per briefing: a new one, even while the sheet is open,
        // gets a fresh view whose player stops the old sound and plays the new.
        Loader {
            id: briefingLoader

            readonly property string briefingId: briefingContent.briefing.id ?? ""

            anchors.fill: parent
            active: briefingSheet.shown
            onBriefingIdChanged: {
                if (!active)
                    return
                active = false
                active = Qt.binding(() => briefingSheet.shown)
            }

            sourceComponent: LiveBriefingView {
                briefing: briefingContent.briefing
                onCloseRequested: briefingSheet.close()
            }
        }
    }

    MarketOverviewContent {
        id: overviewContent
        objectName: "overviewContent"
        appState: root.appState
    }

    Sheet {
        id: overviewSheet
        objectName: "overviewSheet"
        width: 560
        height: 480
        shown: overviewContent.present
        onDismissed: overviewContent.clear()

        Loader {
            anchors.fill: parent
            active: overviewSheet.shown
            sourceComponent: MarketOverviewView {
                overview: overviewContent.overview
                onCloseRequested: overviewSheet.close()
            }
        }
    }
}
