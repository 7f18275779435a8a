import QtQuick
import QtQuick.Layouts
import Kalvo

// A titled card of the settings sheet; the items declared inside it follow
// the title.
Rectangle {
    id: section

    property string title
    default property alias content: column.data

    Layout.fillWidth: true
    implicitHeight: column.implicitHeight + 24
    color: Theme.cardBackground
    radius: 6

    ColumnLayout {
        id: column
        anchors { left: parent.left; right: parent.right; top: parent.top; margins: 12 }
        spacing: 10

        MonoText {
            objectName: "sectionTitle"
            text: section.title
            size: 9
            font.bold: true
            font.letterSpacing: 1.5
            color: Theme.textMuted
        }
    }
}
