import QtQuick

// A button that draws only its content, dimmed while pressed or disabled.
MouseArea {
    id: button

    default property alias content: holder.data

    implicitWidth: holder.childrenRect.width
    implicitHeight: holder.childrenRect.height
    hoverEnabled: true
    cursorShape: Qt.PointingHandCursor
    opacity: !enabled ? 0.5 : pressed ? 0.6 : 1

    Item {
        id: holder
        anchors.fill: parent
    }
}
