import QtQuick
import QtQuick.Layouts
import Kalvo

// The status line and the count of analysed and all headlines.
Rectangle {
    id: bar

    required property var appState
    required property var newsModel

    implicitHeight: 22
    color: Theme.headerBackground

    Divider {
        anchors { left: parent.left; right: parent.right; top: parent.top }
    }

    RowLayout {
        anchors { fill: parent; leftMargin: 12; rightMargin: 12 }
        spacing: 6

        Rectangle {
            width: 5
            height: 5
            radius: 2.5
            color: Theme.green
        }

        MonoText {
            objectName: "statusLine"
            Layout.fillWidth: true
            text: bar.appState.status
            elide: Text.ElideRight
            size: 10
            color: Theme.textSecondary
        }

        MonoText {
            objectName: "newsCount"
            text: bar.newsModel.analyzedCount + "/" + bar.newsModel.count + " News"
            size: 10
            color: Theme.textMuted
        }
    }
}
