import QtQuick
import QtQuick.Controls
import Kalvo

// The outlined button beside a primary one: secondary text on the panel
// colour, the fill dimmed to 50 % while pressed; the outline stays.
Button {
    id: button

    horizontalPadding: 16
    verticalPadding: 8

    contentItem: MonoText {
        objectName: "label"
        text: button.text
        size: 11
        color: Theme.textSecondary
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }

    background: Rectangle {
        objectName: "fill"
        radius: 5
        color: Theme.withOpacity(Theme.panelBackground, button.pressed ? 0.5 : 1.0)
        border.color: Theme.border
        border.width: 1
    }
}
