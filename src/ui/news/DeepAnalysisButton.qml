import QtQuick
import Kalvo

// "TIEFENANALYSE": asks for the deep analysis of the selected headline.
PlainButton {
    id: button

    property color accent: Theme.blue
    property real letterSpacing: 0
    property real horizontalPadding: 7
    property real verticalPadding: 2

    Rectangle {
        width: label.implicitWidth + 2 * button.horizontalPadding
        height: label.implicitHeight + 2 * button.verticalPadding
        color: Theme.cardBackground

        MonoText {
            id: label
            anchors.centerIn: parent
            text: "TIEFENANALYSE"
            size: 9
            font.bold: true
            font.letterSpacing: button.letterSpacing
            color: button.accent
        }
    }
}
