import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Kalvo

// The spoken market briefing: its title, the player, the text, the key
// points and what to watch. The view owns its player: the audio starts when
// the view appears and stops when it goes, so nothing plays on after the
// sheet has closed.
Rectangle {
    id: view

    // As LiveBriefingContent.briefing gives it.
    required property var briefing
    signal closeRequested()

    color: Theme.background
    radius: 8
    clip: true

    AudioPlayerService {
        id: audioPlayer
        objectName: "briefingPlayer"
    }

    Component.onCompleted: {
        if (view.briefing.hasAudio)
            audioPlayer.loadAndPlay(view.briefing.audio)
    }
    Component.onDestruction: audioPlayer.stop()

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
                    name: "audio-waveform"
                    size: 13
                    color: Theme.green
                }

                MonoText {
                    text: "LIVE BRIEFING"
                    size: 13
                    font.bold: true
                    color: Theme.green
                }

                Item {
                    Layout.fillWidth: true
                }

                MonoText {
                    objectName: "briefingSize"
                    Layout.rightMargin: 12
                    text: view.briefing.sizeText ?? ""
                    size: 10
                    color: Theme.textMuted
                }

                TextButton {
                    objectName: "briefingClose"
                    text: "Schließen"
                    onClicked: {
                        audioPlayer.stop()
                        view.closeRequested()
                    }
                }
            }

            Divider {
                anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
            }
        }

        Flickable {
            id: scroller
            objectName: "briefingScroller"
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

                MonoText {
                    objectName: "briefingTitle"
                    Layout.fillWidth: true
                    text: view.briefing.title ?? ""
                    wrapMode: Text.Wrap
                    size: 16
                    font.bold: true
                    color: Theme.white
                }

                BriefingPlayerCard {
                    id: playerCard
                    objectName: "briefingPlayerCard"
                    Layout.fillWidth: true
                    player: audioPlayer
                    hasAudio: view.briefing.hasAudio ?? false
                }

                Rectangle {
                    Layout.fillWidth: true
                    implicitHeight: briefingText.implicitHeight + 28
                    radius: 6
                    color: Theme.cardBackground

                    MonoText {
                        id: briefingText
                        objectName: "briefingText"
                        anchors { left: parent.left; right: parent.right; top: parent.top; margins: 14 }
                        text: view.briefing.text ?? ""
                        wrapMode: Text.Wrap
                        lineHeight: 1.25
                        size: 12
                        color: Theme.textPrimary
                    }
                }

                ColumnLayout {
                    objectName: "keyPoints"
                    visible: (view.briefing.keyPoints ?? []).length > 0
                    Layout.fillWidth: true
                    spacing: 6

                    Caption {
                        text: "KERNPUNKTE"
                    }

                    Repeater {
                        model: view.briefing.keyPoints ?? []

                        RowLayout {
                            id: pointRow

                            required property string modelData

                            Layout.fillWidth: true
                            spacing: 8

                            MonoText {
                                Layout.alignment: Qt.AlignTop
                                text: "▸"
                                size: 11
                                color: Theme.blue
                            }

                            MonoText {
                                Layout.fillWidth: true
                                text: pointRow.modelData
                                wrapMode: Text.Wrap
                                size: 11
                                color: Theme.textPrimary
                            }
                        }
                    }
                }

                ColumnLayout {
                    objectName: "watchNext"
                    visible: (view.briefing.watchNext ?? []).length > 0
                    Layout.fillWidth: true
                    spacing: 6

                    Caption {
                        text: "BEOBACHTEN"
                    }

                    Repeater {
                        model: view.briefing.watchNext ?? []

                        RowLayout {
                            id: watchRow

                            required property string modelData

                            Layout.fillWidth: true
                            spacing: 8

                            Text {
                                Layout.alignment: Qt.AlignTop
                                text: "⏱"
                                font.family: Theme.emojiFamily
                                font.pixelSize: 11
                            }

                            MonoText {
                                Layout.fillWidth: true
                                text: watchRow.modelData
                                wrapMode: Text.Wrap
                                size: 11
                                color: Theme.cyan
                            }
                        }
                    }
                }
            }
        }
    }
}
