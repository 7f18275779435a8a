import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Kalvo

// The quote board of the left column: one row per configured instrument,
// the extras under their own header, a note while the markets are closed.
// A tap on a row opens the pair sheet, which this panel hosts.
Rectangle {
    id: panel

    required property var appState

    color: Theme.background

    component ColumnTitle: MonoText {
        size: 8
        font.bold: true
        font.letterSpacing: 1
        color: Theme.textMuted
    }

    MarketStatusWatch {
        id: market
        objectName: "priceMarketStatus"
        appState: panel.appState
    }

    // The only reason the closed-market block comes or goes without new quotes.
    Timer {
        objectName: "priceStatusTimer"
        interval: 60000
        repeat: true
        running: true
        onTriggered: market.refresh()
    }

    PriceListModel {
        id: quotes
        objectName: "priceModel"
        appState: panel.appState
        dimmed: !market.isOpen
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: 30
            color: Theme.headerBackground

            MonoText {
                objectName: "priceTitle"
                anchors { left: parent.left; leftMargin: 12; verticalCenter: parent.verticalCenter }
                text: "FOREX PREISE"
                size: 10
                font.bold: true
                font.letterSpacing: 2
                color: Theme.cyan
            }

            Divider {
                anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
            }
        }

        Rectangle {
            objectName: "closedBlock"
            Layout.fillWidth: true
            visible: !market.isOpen
            implicitHeight: closedLines.implicitHeight + 14
            color: "#1f1200"

            Column {
                id: closedLines
                anchors { left: parent.left; right: parent.right; top: parent.top
                          leftMargin: 12; rightMargin: 12; topMargin: 7 }
                spacing: 6

                Row {
                    spacing: 6

                    SvgIcon {
                        anchors.verticalCenter: parent.verticalCenter
                        name: "market-closed"
                        size: 11
                        color: Theme.orange
                    }

                    MonoText {
                        objectName: "closedTitle"
                        anchors.verticalCenter: parent.verticalCenter
                        text: "MÄRKTE GESCHLOSSEN"
                        size: 10
                        font.bold: true
                        font.letterSpacing: 1
                        color: Theme.orange
                    }
                }

                MonoText {
                    objectName: "closedDetail"
                    width: parent.width
                    text: market.detail
                    wrapMode: Text.Wrap
                    size: 9
                    color: Theme.textMuted
                }
            }

            Rectangle {
                anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
                height: 1
                color: Theme.withOpacity(Theme.orange, 0.3)
            }
        }

        RowLayout {
            objectName: "priceColumns"
            Layout.fillWidth: true
            Layout.leftMargin: 12
            Layout.rightMargin: 12
            Layout.topMargin: 6
            Layout.bottomMargin: 6
            spacing: 0

            ColumnTitle {
                Layout.fillWidth: true
                text: "PAAR"
            }

            ColumnTitle {
                Layout.preferredWidth: 90
                horizontalAlignment: Text.AlignRight
                text: "KURS"
            }

            ColumnTitle {
                Layout.preferredWidth: 58
                horizontalAlignment: Text.AlignRight
                text: "Δ%"
            }
        }

        Divider {
            Layout.fillWidth: true
            color: Theme.borderSubtle
        }

        ListView {
            objectName: "priceList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            model: quotes
            delegate: PriceRowView {
                width: ListView.view.width
                dimmed: quotes.dimmed
                onTapped: (pair) => panel.appState.selectedPair = pair
            }

            ScrollBar.vertical: ScrollBar {}
        }

        Divider {
            Layout.fillWidth: true
            color: Theme.borderSubtle
        }

        MonoText {
            objectName: "priceFooter"
            Layout.fillWidth: true
            Layout.leftMargin: 12
            Layout.rightMargin: 12
            Layout.topMargin: 5
            Layout.bottomMargin: 5
            text: market.isOpen ? "Antippen für Details" : "Letzte bekannte Kurse"
            size: 9
            color: Theme.textMuted
        }
    }

    Sheet {
        id: pairSheet
        objectName: "pairSheet"
        parent: Overlay.overlay
        width: 700
        height: 560
        shown: panel.appState.selectedPair !== ""
        onDismissed: panel.appState.selectedPair = ""

        // The instrument is the sheet's identity: another one, even without
        // closing, gets a fresh sheet whose analysis starts idle.
        Loader {
            id: content

            readonly property string pair: panel.appState.selectedPair

            anchors.fill: parent
            active: pairSheet.shown
            onPairChanged: {
                if (!active)
                    return
                active = false
                active = Qt.binding(() => pairSheet.shown)
            }

            sourceComponent: PairDetailView {
                appState: panel.appState
                pair: content.pair
                onCloseRequested: pairSheet.close()
            }
        }
    }
}
