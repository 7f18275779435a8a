import QtQuick
import QtQuick.Shapes
import Kalvo

// An indeterminate progress indicator: a turning three-quarter ring. It
// stops turning after a while and stays as a still ring: a wait that long
// (a price source that is down, say) tells nothing more by moving, and every
// turn redraws the window.
Item {
    id: spinner

    property real diameter: 12
    property color color: Theme.textSecondary
    property int turnForMs: 20000
    readonly property bool turning: visible && !stillTimer.expired

    Timer {
        id: stillTimer
        property bool expired: false
        interval: spinner.turnForMs
        running: spinner.visible && !expired
        onTriggered: expired = true
    }
    // Shown again later, it turns again.
    onVisibleChanged: if (!visible) stillTimer.expired = false
    onTurningChanged: if (!turning) ring.rotation = 0

    implicitWidth: diameter
    implicitHeight: diameter

    Shape {
        id: ring
        anchors.fill: parent
        layer.enabled: true
        layer.samples: 4

        ShapePath {
            strokeColor: spinner.color
            strokeWidth: Math.max(1.5, spinner.diameter / 7)
            fillColor: "transparent"
            capStyle: ShapePath.RoundCap

            PathAngleArc {
                centerX: spinner.diameter / 2
                centerY: spinner.diameter / 2
                radiusX: spinner.diameter / 2 - 1.5
                radiusY: spinner.diameter / 2 - 1.5
                startAngle: 0
                sweepAngle: 270
            }
        }

        // Eight steps a turn rather than a smooth spin: the same pace for
        // the eye at a seventh of the frames.
        Timer {
            interval: 112
            repeat: true
            running: spinner.turning
            onTriggered: ring.rotation = (ring.rotation + 45) % 360
        }
    }
}
