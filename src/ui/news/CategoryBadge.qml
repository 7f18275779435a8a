import QtQuick
import Kalvo

// The category of the news, e.g. "CENTRAL BANK".
Rectangle {
    property alias text: label.text

    objectName: "categoryBadge"
    implicitWidth: label.implicitWidth + 12
    implicitHeight: label.implicitHeight + 6
    radius: 4
    color: Theme.cardBackground

    MonoText {
        id: label
        anchors.centerIn: parent
        size: 9
        font.weight: Font.Medium
        color: Theme.textMuted
    }
}
