import QtQuick
import Kalvo

// The played fraction of the briefing on a thin track. Pressing or dragging
// anywhere over it asks to jump there: `seekRequested` carries the pointer's
// place as a fraction of the track, clamped to 0…1.
Item {
    id: bar

    property real progress: 0
    // Eases each step of the progress timer; off while the pointer drags.
    property bool animated: true
    readonly property bool isDragging: area.pressed
    signal seekRequested(real fraction)

    implicitHeight: 18

    Rectangle {
        id: track
        objectName: "progressTrack"
        anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter }
        height: 6
        radius: 3
        color: Theme.cardBackground

        Rectangle {
            objectName: "progressFill"
            height: parent.height
            radius: parent.radius
            width: Math.max(0, Math.min(1, bar.progress)) * track.width
            color: Theme.green

            Behavior on width {
                enabled: bar.animated && !bar.isDragging
                NumberAnimation { duration: 250; easing.type: Easing.Linear }
            }
        }
    }

    MouseArea {
        id: area
        objectName: "progressArea"
        anchors.fill: parent
        preventStealing: true
        cursorShape: Qt.PointingHandCursor

        function seekTo(x) {
            bar.seekRequested(track.width > 0 ? Math.max(0, Math.min(1, x / track.width)) : 0)
        }

        onPressed: (mouse) => seekTo(mouse.x)
        onPositionChanged: (mouse) => { if (pressed) seekTo(mouse.x) }
    }
}
