import QtQuick
import QtQuick.Shapes
import Kalvo

// A small outlined symbol drawn in one colour: "calendar", "clock",
// "checkmarkCircle" or "wifiExclamation". `size` is the height in pixels.
Item {
    id: symbol

    property string name
    property real size: 16
    property color color: Theme.textSecondary

    implicitWidth: size
    implicitHeight: size

    // Drawn on a 24-unit grid and scaled to `size`; the layer is rendered
    // at twice the final size, so that the scaled edges stay smooth.
    component Outline: Shape {
        width: 24
        height: 24
        scale: symbol.size / 24
        transformOrigin: Item.TopLeft
        layer.enabled: true
        layer.samples: 4
        layer.smooth: true
        layer.textureSize: Qt.size(2 * symbol.size, 2 * symbol.size)
    }

    component Stroke: ShapePath {
        strokeColor: symbol.color
        strokeWidth: 1.8
        fillColor: "transparent"
        capStyle: ShapePath.RoundCap
        joinStyle: ShapePath.RoundJoin
    }

    component Dot: ShapePath {
        property real cx
        property real cy
        strokeColor: "transparent"
        fillColor: symbol.color
        startX: cx + 1.3
        startY: cy
        PathAngleArc { centerX: cx; centerY: cy; radiusX: 1.3; radiusY: 1.3; startAngle: 0; sweepAngle: 360 }
    }

    Loader {
        sourceComponent: {
            switch (symbol.name) {
            case "calendar": return calendar
            case "clock": return clock
            case "checkmarkCircle": return checkmarkCircle
            case "wifiExclamation": return wifiExclamation
            }
            return null
        }
    }

    Component {
        id: calendar
        Outline {
            Stroke {
                startX: 5.5; startY: 5
                PathLine { x: 18.5; y: 5 }
                PathArc { x: 21; y: 7.5; radiusX: 2.5; radiusY: 2.5 }
                PathLine { x: 21; y: 19 }
                PathArc { x: 18.5; y: 21.5; radiusX: 2.5; radiusY: 2.5 }
                PathLine { x: 5.5; y: 21.5 }
                PathArc { x: 3; y: 19; radiusX: 2.5; radiusY: 2.5 }
                PathLine { x: 3; y: 7.5 }
                PathArc { x: 5.5; y: 5; radiusX: 2.5; radiusY: 2.5 }
                PathMove { x: 3; y: 10 }
                PathLine { x: 21; y: 10 }
                PathMove { x: 8; y: 2.5 }
                PathLine { x: 8; y: 6.5 }
                PathMove { x: 16; y: 2.5 }
                PathLine { x: 16; y: 6.5 }
            }
            Dot { cx: 8; cy: 14 }
            Dot { cx: 12; cy: 14 }
            Dot { cx: 16; cy: 14 }
            Dot { cx: 8; cy: 18 }
            Dot { cx: 12; cy: 18 }
        }
    }

    Component {
        id: clock
        Outline {
            Stroke {
                startX: 21; startY: 12
                PathAngleArc { centerX: 12; centerY: 12; radiusX: 9; radiusY: 9; startAngle: 0; sweepAngle: 360 }
                PathMove { x: 12; y: 6.5 }
                PathLine { x: 12; y: 12 }
                PathLine { x: 15.5; y: 14 }
            }
        }
    }

    Component {
        id: checkmarkCircle
        Outline {
            Stroke {
                startX: 21; startY: 12
                PathAngleArc { centerX: 12; centerY: 12; radiusX: 9; radiusY: 9; startAngle: 0; sweepAngle: 360 }
                PathMove { x: 7.5; y: 12.5 }
                PathLine { x: 10.5; y: 15.5 }
                PathLine { x: 16.5; y: 9 }
            }
        }
    }

    Component {
        id: wifiExclamation
        Outline {
            Stroke {
                startX: 1.5; startY: 10
                PathAngleArc { centerX: 10; centerY: 18.5; radiusX: 12; radiusY: 12; startAngle: -135; sweepAngle: 90 }
                PathMove { x: 4.3; y: 12.8 }
                PathAngleArc { centerX: 10; centerY: 18.5; radiusX: 8; radiusY: 8; startAngle: -135; sweepAngle: 90 }
                PathMove { x: 7.2; y: 15.7 }
                PathAngleArc { centerX: 10; centerY: 18.5; radiusX: 4; radiusY: 4; startAngle: -135; sweepAngle: 90 }
                PathMove { x: 21.5; y: 8 }
                PathLine { x: 21.5; y: 15.5 }
            }
            Dot { cx: 10; cy: 19 }
            Dot { cx: 21.5; cy: 19.5 }
        }
    }
}
