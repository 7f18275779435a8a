import QtQuick
import Kalvo

// A plain button that is only its text, as the sheets' "Schließen".
PlainButton {
    id: button

    property alias text: label.text
    property alias color: label.color
    property alias size: label.size

    MonoText {
        id: label
        size: 11
        color: Theme.textSecondary
    }
}
