import QtQuick
import QtQuick.Shapes
import Kalvo

// An indeterminate progress indicator: a turning three-quarter ring.
Item {
    id: spinner

    property real diameter: 12
    property color color: Theme.textSecondary

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

        RotationAnimator on rotation {
            from: 0
            to: 360
            duration: 900
            loops: Animation.Infinite
            running: spinner.visible
        }
    }
}
