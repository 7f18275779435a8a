import QtQuick
import QtQuick.Layouts
import Kalvo

// A short portrait of one currency of the instrument: flag, name, region
// and what moves it.
Rectangle {
    id: card

    // A map with "code", "flag", "name", "region" and "description".
    property var info: ({})

    objectName: "currencyCard:" + (info.code ?? "")
    implicitHeight: lines.implicitHeight + 24
    radius: 6
    color: Theme.cardBackground
    border.width: 1
    border.color: Theme.borderSubtle

    ColumnLayout {
        id: lines
        anchors { left: parent.left; right: parent.right; top: parent.top; margins: 12 }
        spacing: 6

        RowLayout {
            spacing: 8

            MonoText {
                text: card.info.flag ?? ""
                size: 20
                font.family: Theme.emojiFamily
            }

            MonoText {
                objectName: "currencyName"
                text: card.info.name ?? ""
                size: 20
                font.bold: true
                color: Theme.white
            }
        }

        MonoText {
            objectName: "currencyRegion"
            text: card.info.region ?? ""
            size: 10
            font.bold: true
            font.letterSpacing: 1
            color: Theme.textSecondary
        }

        MonoText {
            objectName: "currencyDescription"
            Layout.fillWidth: true
            text: card.info.description ?? ""
            wrapMode: Text.Wrap
            size: 11
        }
    }
}
