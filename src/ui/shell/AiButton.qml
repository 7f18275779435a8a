import QtQuick
import Kalvo

// A top-bar button that starts an AI operation: icon and title in the
// accent colour on a dark tint, outlined; a spinner replaces the icon and
// the button is disabled while the operation runs.
Rectangle {
    id: button

    property string text
    property string iconName
    property color accent
    property color fill
    property bool busy: false
    signal activated()

    enabled: !busy
    implicitWidth: content.implicitWidth + 18
    implicitHeight: content.implicitHeight + 6
    radius: 4
    color: fill
    border.width: 1
    border.color: Theme.withOpacity(accent, 0.4)
    opacity: enabled ? (area.pressed ? 0.7 : 1) : 0.6

    Row {
        id: content
        anchors.centerIn: parent
        spacing: 5

        Item {
            anchors.verticalCenter: parent.verticalCenter
            width: 12
            height: 12

            Spinner {
                objectName: "spinner"
                anchors.centerIn: parent
                visible: button.busy
                diameter: 10
                color: button.accent
            }

            SvgIcon {
                objectName: "icon"
                anchors.centerIn: parent
                visible: !button.busy
                name: button.iconName
                size: 10
                color: button.accent
            }
        }

        MonoText {
            anchors.verticalCenter: parent.verticalCenter
            text: button.text
            size: 11
            font.bold: true
            color: button.accent
        }
    }

    MouseArea {
        id: area
        anchors.fill: parent
        enabled: button.enabled
        cursorShape: Qt.PointingHandCursor
        onClicked: button.activated()
    }
}
