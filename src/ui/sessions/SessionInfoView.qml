import QtQuick
import QtQuick.Layouts
import Kalvo

// The trading-sessions dialog: which sessions are active now, and each
// session's hours in local time and UTC, its volume and its main pairs.
Rectangle {
    id: view

    required property var appState
    signal closeRequested()

    color: Theme.background
    radius: 8
    clip: true

    SessionTable {
        id: table
        objectName: "sessionTable"
        appState: view.appState
    }

    component HeaderCell: MonoText {
        size: 9
        font.bold: true
        font.letterSpacing: 1
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

                MonoText {
                    text: "TRADING SESSIONS"
                    size: 14
                    font.bold: true
                    color: Theme.cyan
                }

                Item {
                    Layout.fillWidth: true
                }

                TextButton {
                    objectName: "sessionsClose"
                    text: "Schließen"
                    onClicked: view.closeRequested()
                }
            }
        }

        ColumnLayout {
            Layout.fillWidth: true
            Layout.leftMargin: 16
            Layout.rightMargin: 16
            Layout.topMargin: 8
            Layout.bottomMargin: 8
            spacing: 4

            MonoText {
                objectName: "sessionsActive"
                text: table.activeText
                font: Theme.monoCaption
                color: Theme.textSecondary
            }

            MonoText {
                objectName: "sessionsOverlap"
                visible: table.overlap !== ""
                text: "★ " + table.overlap
                font: Theme.monoCaption
                color: Theme.green
            }
        }

        Divider {
            Layout.fillWidth: true
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.leftMargin: 16
            Layout.rightMargin: 16
            Layout.topMargin: 8
            Layout.bottomMargin: 6
            spacing: 0

            HeaderCell { text: "Session"; Layout.preferredWidth: 90 }
            HeaderCell { text: "Lokal"; Layout.preferredWidth: 100 }
            HeaderCell { text: "UTC"; Layout.preferredWidth: 100 }
            HeaderCell { text: "Volumen"; Layout.preferredWidth: 90 }
            HeaderCell { text: "Top Paare"; Layout.fillWidth: true }
        }

        Repeater {
            model: table.rows

            ColumnLayout {
                id: row

                required property var modelData
                required property int index

                objectName: "sessionRow" + index
                Layout.fillWidth: true
                spacing: 0

                Rectangle {
                    objectName: "sessionRowBackground"
                    Layout.fillWidth: true
                    implicitHeight: cells.implicitHeight + 16
                    color: row.modelData.active ? Theme.withOpacity(Theme.selectionBackground, 0.3) : "transparent"

                    RowLayout {
                        id: cells
                        anchors { fill: parent; leftMargin: 16; rightMargin: 16; topMargin: 8; bottomMargin: 8 }
                        spacing: 0

                        MonoText {
                            objectName: "sessionName"
                            Layout.preferredWidth: 90
                            text: row.modelData.name
                            size: 12
                            font.bold: row.modelData.active
                            color: row.modelData.active ? Theme.yellow : Theme.textPrimary
                        }

                        MonoText {
                            objectName: "sessionLocal"
                            Layout.preferredWidth: 100
                            text: row.modelData.local
                            font: Theme.monoCaption
                            color: Theme.textSecondary
                        }

                        MonoText {
                            objectName: "sessionUtc"
                            Layout.preferredWidth: 100
                            text: row.modelData.utc
                            font: Theme.monoCaption
                            color: Theme.textMuted
                        }

                        MonoText {
                            objectName: "sessionVolume"
                            Layout.preferredWidth: 90
                            text: row.modelData.volume
                            font: Theme.monoCaption
                            color: row.modelData.volumeColor
                        }

                        MonoText {
                            objectName: "sessionPairs"
                            Layout.fillWidth: true
                            text: row.modelData.pairs
                            font: Theme.monoCaption
                            color: Theme.textSecondary
                            elide: Text.ElideRight
                        }
                    }
                }

                Divider {
                    Layout.fillWidth: true
                    color: Theme.borderSubtle
                }
            }
        }

        MonoText {
            objectName: "sessionsTip"
            Layout.fillWidth: true
            Layout.margins: 16
            text: "Tip: London + New York Overlap ist meist die liquideste Phase (enger Spread, starke "
                  + "Bewegungen bei EUR/USD, GBP/USD, Gold)."
            wrapMode: Text.Wrap
            font: Theme.monoCaption
            color: Theme.textMuted
        }

        Item {
            Layout.fillHeight: true
        }
    }
}
