import QtQuick
import QtQuick.Layouts
import Kalvo

// A titled section of the detail panel; the items declared inside it
// follow the title.
ColumnLayout {
    id: box

    property string title

    spacing: 6

    MonoText {
        objectName: "sectionTitle"
        text: box.title
        size: 9
        font.bold: true
        font.letterSpacing: 1.5
        color: Theme.textMuted
    }
}
