import QtQuick
import QtQuick.Layouts
import Kalvo

// Play/pause, position, progress bar and length of the briefing's audio,
// or a note that there is none. Shows what `player` (an
// AudioPlayerService) publishes and seeks its platform player.
Rectangle {
    id: card

    required property AudioPlayerService player
    property bool hasAudio: false
    // The published state shown; bound to the player, set directly only to
    // picture a fixed moment.
    property bool playing: player.isPlaying
    property real progress: player.progress
    property real duration: player.duration
    property string errorText: player.errorMessage
    property alias animated: progressBar.animated
    readonly property alias isDragging: progressBar.isDragging

    implicitHeight: content.implicitHeight + 28
    radius: 8
    color: "#0d1f10"
    border.width: 1
    border.color: Theme.withOpacity(Theme.green, 0.25)

    // Jumps to `fraction` of the sound; nothing while no sound is loaded.
    function seek(fraction) {
        const platform = card.player.player
        if (!platform)
            return
        platform.position = Math.round(fraction * platform.duration)
        card.player.progress = fraction
    }

    ColumnLayout {
        id: content
        anchors { left: parent.left; right: parent.right; top: parent.top; margins: 14 }
        spacing: 8

        RowLayout {
            objectName: "playerControls"
            visible: card.hasAudio
            Layout.fillWidth: true
            spacing: 10

            PlainButton {
                objectName: "playPauseButton"
                implicitWidth: 44
                implicitHeight: 44
                onClicked: card.player.togglePlayPause()

                Rectangle {
                    width: 44
                    height: 44
                    radius: 22
                    color: Theme.withOpacity(Theme.green, 0.12)
                    border.width: 1
                    border.color: Theme.withOpacity(Theme.green, 0.45)

                    SvgIcon {
                        objectName: "playPauseIcon"
                        anchors.centerIn: parent
                        // The triangle's weight sits left of its box; nudge it to look centred.
                        anchors.horizontalCenterOffset: card.playing ? 0 : 1
                        name: card.playing ? "pause" : "play"
                        size: 16
                        color: Theme.green
                    }
                }
            }

            MonoText {
                objectName: "playerPosition"
                Layout.preferredWidth: 36
                text: card.player.timeText(card.progress * card.duration)
                size: 11
                color: Theme.textSecondary
            }

            BriefingProgressBar {
                id: progressBar
                objectName: "progressBar"
                Layout.fillWidth: true
                progress: card.progress
                onSeekRequested: (fraction) => card.seek(fraction)
            }

            MonoText {
                objectName: "playerDuration"
                Layout.preferredWidth: 36
                horizontalAlignment: Text.AlignRight
                text: card.player.timeText(card.duration)
                size: 11
                color: Theme.textSecondary
            }
        }

        MonoText {
            objectName: "playerError"
            visible: card.hasAudio && card.errorText !== ""
            Layout.fillWidth: true
            text: card.errorText
            wrapMode: Text.Wrap
            font: Theme.monoCaption
            color: Theme.red
        }

        RowLayout {
            objectName: "noAudio"
            visible: !card.hasAudio
            spacing: 8

            SvgIcon {
                name: "speaker-off"
                size: 13
                color: Theme.textMuted
            }

            MonoText {
                objectName: "noAudioText"
                text: "Audio nicht verfügbar — OpenAI TTS fehlgeschlagen"
                font: Theme.monoCaption
                color: Theme.textMuted
            }
        }
    }
}
