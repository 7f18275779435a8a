import QtQuick
import QtQuick.Controls
import Kalvo

// The filled button of a sheet's main action: black text on blue, the fill
// dimmed to 70 % while pressed. It reads nothing but `pressed`, so any
// sheet can use it with just a text and an action.
Button {
    id: button

    horizontalPadding: 16
    verticalPadding: 8

    contentItem: MonoText {
        objectName: "label"
        text: button.text
        size: 11
        font.weight: Font.DemiBold
        color: "black"
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }

    background: Rectangle {
        objectName: "fill"
        radius: 5
        color: Theme.withOpacity(Theme.blue, button.pressed ? 0.7 : 1.0)
    }
}
