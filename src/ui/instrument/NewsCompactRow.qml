import QtQuick
import QtQuick.Layouts
import Kalvo

// A related headline in the pair sheet: title, then source and age.
Rectangle {
    id: row

    // A map with "newsId", "title", "source" and "age".
    property var item: ({})

    objectName: "relatedNews:" + (item.newsId ?? "")
    implicitHeight: lines.implicitHeight + 12
    radius: 4
    color: Theme.cardBackground

    ColumnLayout {
        id: lines
        anchors { left: parent.left; right: parent.right; top: parent.top; margins: 6; leftMargin: 10; rightMargin: 10 }
        spacing: 3

        MonoText {
            objectName: "relatedTitle"
            Layout.fillWidth: true
            text: row.item.title ?? ""
            wrapMode: Text.Wrap
            maximumLineCount: 2
            elide: Text.ElideRight
            size: 11
        }

        RowLayout {
            spacing: 8

            MonoText {
                objectName: "relatedSource"
                text: String(row.item.source ?? "").toUpperCase()
                size: 9
                font.bold: true
                font.letterSpacing: 1
                color: Theme.textMuted
            }

            MonoText {
                objectName: "relatedAge"
                text: row.item.age ?? ""
                size: 9
                color: Theme.textMuted
            }
        }
    }
}
