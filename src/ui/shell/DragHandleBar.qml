import QtQuick
import Kalvo

// The splitter above the detail panel. Dragging up makes the panel taller.
// Each move sets the height to the current height minus the drag's whole
// translation since the press, so a long drag outruns the pointer; users
// are used to that and it stays. The result is held at or above minHeight
// first and at or below maxHeight last, so a column too short for both
// gets the maximum.
Rectangle {
    id: bar

    property real targetHeight
    property real minHeight
    property real maxHeight
    signal resized(real newHeight)

    function clamped(value) {
        return Math.min(Math.max(value, minHeight), maxHeight)
    }

    implicitHeight: 12
    color: Theme.headerBackground

    Rectangle {
        objectName: "grip"
        anchors.centerIn: parent
        width: 40
        height: 4
        radius: 2
        color: Theme.borderStrong
    }

    MouseArea {
        id: area
        objectName: "dragArea"

        // Window coordinates: the bar itself moves while it is dragged.
        property point pressedAt
        property bool dragging: false

        anchors.fill: parent
        hoverEnabled: true
        preventStealing: true
        cursorShape: Qt.SizeVerCursor

        onPressed: (mouse) => {
            pressedAt = mapToItem(null, mouse.x, mouse.y)
            dragging = false
        }
        onPositionChanged: (mouse) => {
            if (!pressed)
                return
            const now = mapToItem(null, mouse.x, mouse.y)
            // A drag starts only 10 points away from the press.
            if (!dragging && Math.hypot(now.x - pressedAt.x, now.y - pressedAt.y) < 10)
                return
            dragging = true
            bar.resized(bar.clamped(bar.targetHeight - (now.y - pressedAt.y)))
        }
        onReleased: dragging = false
    }
}
