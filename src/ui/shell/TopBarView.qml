import QtQuick
import QtQuick.Layouts
import Kalvo

// Title, market badge, the two AI buttons, the clock and the settings button.
Rectangle {
    id: bar

    required property var appState
    signal sessionBadgeClicked()

    implicitHeight: 48
    gradient: Gradient {
        orientation: Gradient.Horizontal
        GradientStop { position: 0; color: "#0a1628" }
        GradientStop { position: 1; color: "#0d1a35" }
    }

    TopBarClock {
        id: clock
        objectName: "topBarClock"
        appState: bar.appState
    }

    Timer {
        objectName: "clockTimer"
        interval: 1000
        repeat: true
        running: true
        onTriggered: clock.tick()
    }

    // Both AI operations: nothing without an AI client or while one runs; else
    // the start message goes to the status line and the operation raises its
    // own busy flag.
    function startLiveBriefing() {
        if (!appState.aiAvailable || appState.isLoadingBriefing)
            return
        appState.status = "Erstelle Live-Briefing (Claude)…"
        appState.loadLiveBriefing()
    }

    function startMarketOverview() {
        if (!appState.aiAvailable || appState.isLoadingOverview)
            return
        appState.status = "Lade Marktübersicht (Claude)…"
        appState.loadMarketOverview()
    }

    RowLayout {
        anchors { fill: parent; leftMargin: 14; rightMargin: 14 }
        spacing: 8

        Row {
            spacing: 8

            Rectangle {
                anchors.verticalCenter: parent.verticalCenter
                width: 3
                height: 22
                color: Theme.blue
            }

            MonoText {
                anchors.verticalCenter: parent.verticalCenter
                text: "◈"
                size: 15
                font.weight: Font.Black
                color: Theme.blue
            }

            MonoText {
                anchors.verticalCenter: parent.verticalCenter
                text: "KALVO PANEL"
                size: 13
                font.bold: true
                font.letterSpacing: 1
                color: Theme.white
            }

            // Simulated markets and analyses: nobody should take these for live data.
            Rectangle {
                objectName: "demoBadge"
                anchors.verticalCenter: parent.verticalCenter
                visible: bar.appState.isDemo
                width: demoText.implicitWidth + 12
                height: demoText.implicitHeight + 4
                radius: 3
                color: "transparent"
                border.width: 1
                border.color: Theme.yellow

                MonoText {
                    id: demoText
                    objectName: "demoText"
                    anchors.centerIn: parent
                    text: "DEMO"
                    size: 9
                    font.bold: true
                    font.letterSpacing: 1
                    color: Theme.yellow
                }
            }
        }

        PlainButton {
            objectName: "marketBadge"
            Layout.leftMargin: 14
            onClicked: bar.sessionBadgeClicked()

            Rectangle {
                id: badge
                readonly property color tint: clock.marketOpen ? Theme.green : Theme.orange

                width: badgeRow.implicitWidth + 16
                height: badgeRow.implicitHeight + 6
                radius: 3
                color: Theme.cardBackground

                Row {
                    id: badgeRow
                    anchors.centerIn: parent
                    spacing: 6

                    Rectangle {
                        objectName: "marketDot"
                        anchors.verticalCenter: parent.verticalCenter
                        width: 6
                        height: 6
                        radius: 3
                        color: badge.tint
                    }

                    MonoText {
                        objectName: "marketLabel"
                        text: clock.marketLabel
                        size: 10
                        font.bold: true
                        font.letterSpacing: 1
                        color: badge.tint
                    }
                }
            }
        }

        Item {
            Layout.fillWidth: true
        }

        AiButton {
            objectName: "briefingButton"
            Layout.rightMargin: 4
            text: "Live Briefing"
            iconName: "audio-waveform"
            accent: Theme.green
            fill: "#1b2d1a"
            busy: bar.appState.isLoadingBriefing
            onActivated: bar.startLiveBriefing()
        }

        AiButton {
            objectName: "overviewButton"
            Layout.rightMargin: 10
            text: "Marktübersicht"
            iconName: "bar-chart"
            accent: Theme.blue
            fill: "#1a253a"
            busy: bar.appState.isLoadingOverview
            onActivated: bar.startMarketOverview()
        }

        MonoText {
            objectName: "clockText"
            Layout.minimumWidth: 140
            Layout.rightMargin: 12
            horizontalAlignment: Text.AlignRight
            text: clock.clockText
            size: 13
            font.bold: true
            color: Theme.cyan
        }

        Divider {
            Layout.preferredHeight: 22
            vertical: true
            color: Theme.borderStrong
        }

        PlainButton {
            objectName: "settingsButton"
            onClicked: bar.appState.showSettings = true

            SvgIcon {
                name: "settings"
                size: 14
                color: Theme.textSecondary
            }
        }
    }
}
