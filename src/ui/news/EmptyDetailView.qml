import QtQuick
import Kalvo

// Shown in the detail panel while no headline is selected.
Item {
    objectName: "emptyDetail"

    Column {
        anchors.centerIn: parent
        spacing: 8

        SvgIcon {
            anchors.horizontalCenter: parent.horizontalCenter
            name: "news"
            size: 40
            color: Theme.textMuted
        }

        MonoText {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "News auswählen"
            size: Theme.monoCaption.pixelSize
            color: Theme.textMuted
        }
    }
}
