import QtQuick
import QtQuick.Window

// The application window. For now it shows the live status line and the
// number of headlines held; the full three-column layout builds on this.
Window {
    id: window

    required property var appState
    required property string monoFamily

    width: 1400
    height: 900
    visible: true
    title: "Kalvo"
    color: "#0c1018"

    Component.onCompleted: appState.startIfNeeded()
    onClosing: appState.stop()

    Rectangle {
        id: topBar
        anchors { left: parent.left; right: parent.right; top: parent.top }
        height: 44
        color: "#0e1520"

        Text {
            anchors { left: parent.left; leftMargin: 16; verticalCenter: parent.verticalCenter }
            text: "KALVO"
            color: "white"
            font { family: window.monoFamily; pixelSize: 16; bold: true; letterSpacing: 2 }
        }

        Rectangle {
            anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
            height: 1
            color: "#3a5578"
        }
    }

    Text {
        anchors.centerIn: parent
        text: window.appState.newsCount + " News"
        color: "#506880"
        font { family: window.monoFamily; pixelSize: 14 }
    }

    Rectangle {
        id: statusBar
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: 26
        color: "#0e1520"

        Rectangle {
            anchors { left: parent.left; right: parent.right; top: parent.top }
            height: 1
            color: "#2a3f58"
        }

        Text {
            objectName: "statusLine"
            anchors { left: parent.left; leftMargin: 12; right: newsCount.left; rightMargin: 12
                      verticalCenter: parent.verticalCenter }
            text: window.appState.status
            elide: Text.ElideRight
            color: "#8ab0d0"
            font { family: window.monoFamily; pixelSize: 11 }
        }

        Text {
            id: newsCount
            objectName: "newsCount"
            anchors { right: parent.right; rightMargin: 12; verticalCenter: parent.verticalCenter }
            text: window.appState.newsCount + " News"
            color: "#506880"
            font { family: window.monoFamily; pixelSize: 11 }
        }
    }
}
