import QtQuick
import Kalvo

// The header bar of a panel: its title in small bold capitals on the header
// background with a line along the bottom. Items declared inside it line up
// at its right end.
Rectangle {
    id: header

    property string title
    default property alias trailing: trailingRow.data

    implicitHeight: titleText.implicitHeight + 12
    color: Theme.headerBackground

    MonoText {
        id: titleText
        objectName: "panelHeaderTitle"
        anchors { left: parent.left; leftMargin: 12; verticalCenter: parent.verticalCenter }
        text: header.title.toUpperCase()
        size: Theme.monoCaption.pixelSize
        font.bold: true
        font.letterSpacing: 1
        color: Theme.textSecondary
    }

    Row {
        id: trailingRow
        anchors { right: parent.right; rightMargin: 12; verticalCenter: parent.verticalCenter }
        spacing: 6
    }

    Divider {
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
    }
}
