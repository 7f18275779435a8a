import QtQuick
import QtQuick.Controls
import Kalvo

// A modal sheet over the main window, centred, on the dark background.
// `shown` is bound to the flag or value that opens it; closing it (Escape or
// a close button calling close()) emits dismissed(), whose handler clears
// that flag or value.
Popup {
    id: sheet

    property bool shown: false
    signal dismissed()

    // Declared in the main view, which fills the window: centred on it.
    anchors.centerIn: parent
    modal: true
    focus: true
    dim: true
    padding: 0
    closePolicy: Popup.CloseOnEscape
    visible: shown

    background: Rectangle {
        color: Theme.background
        border.color: Theme.border
        radius: 8
    }

    Overlay.modal: Rectangle {
        color: "#99000000"
    }

    onClosed: if (shown) dismissed()
}
