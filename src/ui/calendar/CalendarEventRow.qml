import QtQuick
import QtQuick.Layouts
import Kalvo

// One calendar event: impact marker, local time, currency and countdown on
// the first line, the title below, then forecast and actual when known.
Rectangle {
    id: row

    required property string eventId
    required property string title
    required property string timeDisplay
    required property string currency
    required property string marker
    required property color impactColor
    required property color background
    required property string forecastText
    required property string actualText
    required property string countdown
    required property color countdownColor

    signal clicked()

    objectName: "calendarRow:" + eventId
    implicitHeight: content.implicitHeight + 12 + 1
    color: background

    ColumnLayout {
        id: content
        anchors { left: parent.left; right: parent.right; top: parent.top
                  leftMargin: 10; rightMargin: 10; topMargin: 6 }
        spacing: 3

        RowLayout {
            Layout.fillWidth: true
            spacing: 8

            MonoText {
                objectName: "rowMarker"
                text: row.marker
                size: 9
                color: row.impactColor
            }

            MonoText {
                objectName: "rowTime"
                text: row.timeDisplay
                size: 10
                color: Theme.textSecondary
            }

            MonoText {
                objectName: "rowCurrency"
                text: row.currency
                size: 10
                font.bold: true
                color: Theme.textSecondary
            }

            Item {
                Layout.fillWidth: true
            }

            MonoText {
                objectName: "rowCountdown"
                visible: text !== ""
                text: row.countdown
                size: 9
                color: row.countdownColor
            }
        }

        MonoText {
            objectName: "rowTitle"
            Layout.fillWidth: true
            text: row.title
            wrapMode: Text.Wrap
            size: 11
            color: Theme.textPrimary
        }

        RowLayout {
            objectName: "rowValues"
            visible: row.forecastText !== "" || row.actualText !== ""
            spacing: 10

            MonoText {
                objectName: "rowForecast"
                visible: text !== ""
                text: row.forecastText
                size: 9
                color: Theme.textMuted
            }

            MonoText {
                objectName: "rowActual"
                visible: text !== ""
                text: row.actualText
                size: 9
                font.bold: true
                color: Theme.yellow
            }
        }
    }

    Divider {
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        color: Theme.borderSubtle
    }

    MouseArea {
        anchors.fill: parent
        cursorShape: Qt.PointingHandCursor
        onClicked: row.clicked()
    }
}
