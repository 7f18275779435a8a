import QtQuick
import QtQuick.Layouts
import Kalvo

// One row of the price panel (arrow, name, price, change), or the
// "MARKT-EXTRAS" header above the extras. A tap on a row reports its
// instrument, quoted or not.
Item {
    id: row

    required property string kind
    required property string pair
    required property bool hasQuote
    required property string arrow
    required property string priceText
    required property string changeText
    required property color changeColor
    required property color nameColor
    required property color priceColor
    property bool dimmed: false
    readonly property bool isHeader: kind === "header"
    signal tapped(string pair)

    objectName: isHeader ? "priceExtrasHeader" : "priceRow:" + pair
    implicitHeight: isHeader ? header.height : quoteRow.implicitHeight + 12 + 1

    Rectangle {
        id: header
        visible: row.isHeader
        width: parent.width
        height: headerText.implicitHeight + 10
        color: Theme.headerBackground

        MonoText {
            id: headerText
            objectName: "priceExtrasTitle"
            anchors { left: parent.left; leftMargin: 10; verticalCenter: parent.verticalCenter }
            text: row.pair
            size: 9
            font.bold: true
            font.letterSpacing: 1.5
            color: Theme.textMuted
        }
    }

    RowLayout {
        id: quoteRow
        visible: !row.isHeader
        anchors { left: parent.left; right: parent.right; top: parent.top
                  leftMargin: 12; rightMargin: 12; topMargin: 6 }
        spacing: 6

        MonoText {
            objectName: "priceArrow"
            Layout.preferredWidth: 10
            text: row.arrow
            size: 9
            color: row.changeColor
        }

        MonoText {
            objectName: "priceName"
            Layout.fillWidth: true
            text: row.pair
            elide: Text.ElideRight
            size: 11
            color: row.nameColor
        }

        MonoText {
            objectName: "priceValue"
            Layout.preferredWidth: 86
            horizontalAlignment: Text.AlignRight
            text: row.priceText
            size: row.hasQuote ? 12 : 11
            color: row.priceColor
        }

        Item {
            Layout.preferredWidth: 54
            Layout.fillHeight: true

            MonoText {
                objectName: "priceChange"
                anchors { right: parent.right; verticalCenter: parent.verticalCenter }
                visible: text !== ""
                text: row.changeText
                size: row.hasQuote ? 10 : 9
                color: Theme.textMuted
            }

            // Waiting for the first quote.
            Spinner {
                objectName: "priceWaiting"
                anchors { right: parent.right; verticalCenter: parent.verticalCenter }
                visible: !row.hasQuote && row.changeText === ""
                diameter: 9
                color: Theme.textMuted
            }
        }
    }

    Divider {
        visible: !row.isHeader
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        color: Theme.borderSubtle
    }

    MouseArea {
        anchors.fill: parent
        enabled: !row.isHeader
        cursorShape: Qt.PointingHandCursor
        onClicked: row.tapped(row.pair)
    }
}
