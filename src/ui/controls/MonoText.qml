import QtQuick
import Kalvo

// Text in the interface's monospaced face. `size` is the font size in
// pixels; news texts are plain text, never markup.
Text {
    property real size: 12

    font.family: Theme.monoFamily
    font.pixelSize: size
    color: Theme.textPrimary
    textFormat: Text.PlainText
}
