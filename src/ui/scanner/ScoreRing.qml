import QtQuick
import QtQuick.Shapes
import Kalvo

// A score of 0-10 as a ring filled clockwise from the top, with the whole
// number in the middle, all in the score's colour.
Item {
    id: ring

    property real score
    property string text
    property color color: Theme.scoreColor(score)

    implicitWidth: 32
    implicitHeight: 32

    Shape {
        anchors.fill: parent
        layer.enabled: true
        layer.samples: 4

        ShapePath {
            strokeColor: Theme.borderSubtle
            strokeWidth: 2
            fillColor: "transparent"

            PathAngleArc {
                centerX: ring.width / 2
                centerY: ring.height / 2
                radiusX: ring.width / 2 - 1
                radiusY: ring.height / 2 - 1
                startAngle: 0
                sweepAngle: 360
            }
        }

        ShapePath {
            strokeColor: ring.score > 0 ? ring.color : "transparent"
            strokeWidth: 2
            fillColor: "transparent"
            capStyle: ShapePath.RoundCap

            PathAngleArc {
                centerX: ring.width / 2
                centerY: ring.height / 2
                radiusX: ring.width / 2 - 1
                radiusY: ring.height / 2 - 1
                startAngle: -90
                sweepAngle: 360 * Math.min(Math.max(ring.score, 0), 10) / 10
            }
        }
    }

    MonoText {
        objectName: "scoreRingText"
        anchors.centerIn: parent
        text: ring.text
        size: 10
        font.bold: true
        color: ring.color
    }
}
