import QtQuick
import Kalvo

// "7/10" in the score's colour on a faint tint of it.
Rectangle {
    id: badge

    property real score
    property alias text: label.text
    readonly property color tint: Theme.scoreColor(score)

    objectName: "scoreBadge"
    implicitWidth: label.implicitWidth + 16
    implicitHeight: label.implicitHeight + 6
    radius: 4
    color: Theme.withOpacity(tint, 0.15)

    MonoText {
        id: label
        anchors.centerIn: parent
        size: 11
        font.bold: true
        color: badge.tint
    }
}
