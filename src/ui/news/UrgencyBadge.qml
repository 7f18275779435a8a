import QtQuick
import Kalvo

// How soon the news matters, e.g. "⚡ SOFORT", in its colour on a faint
// tint. The glyph is drawn from the emoji face, the word in the mono face.
Rectangle {
    id: badge

    property string glyph
    property alias word: wordText.text
    property color tint: Theme.textSecondary

    objectName: "urgencyBadge"
    implicitWidth: label.implicitWidth + 12
    implicitHeight: label.implicitHeight + 6
    radius: 4
    color: Theme.withOpacity(tint, 0.1)

    Row {
        id: label
        anchors.centerIn: parent
        spacing: glyphText.visible ? wordText.font.pixelSize * 0.6 : 0

        MonoText {
            id: glyphText
            objectName: "urgencyBadgeGlyph"
            anchors.verticalCenter: parent.verticalCenter
            visible: text !== ""
            text: badge.glyph
            size: 9
            font.family: Theme.emojiFamily
        }

        MonoText {
            id: wordText
            objectName: "urgencyBadgeWord"
            anchors.verticalCenter: parent.verticalCenter
            size: 9
            font.bold: true
            color: badge.tint
        }
    }
}
