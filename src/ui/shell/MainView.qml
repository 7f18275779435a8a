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
}
