import QtQuick
import QtQuick.Layouts
import Kalvo

// A titled bullet list of the analysis sheet; absent without items.
ColumnLayout {
    id: section

    property string title
    property var items: []
    property color bulletColor: Theme.blue

    visible: items.length > 0
    spacing: 6

    MonoText {
        text: section.title
        size: 9
        font.bold: true
        font.letterSpacing: 1.5
        color: Theme.textMuted
    }

    BulletList {
        Layout.fillWidth: true
        items: section.items
        bulletColor: section.bulletColor
    }
}
