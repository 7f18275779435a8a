import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Kalvo

// The economic events of the next two days, grouped by local day under
// headers that stay at the top while their rows scroll. A click on an event
// opens its sheet.
Rectangle {
    id: panel

    required property var appState

    color: Theme.background

    CalendarListModel {
        id: calendarModel
        objectName: "calendarModel"
        appState: panel.appState
    }

    CalendarEventSelection {
        id: selection
        objectName: "calendarSelection"
        appState: panel.appState
    }

    ColumnLayout {
        objectName: "calendarLoading"
        anchors.centerIn: parent
        width: parent.width - 60
        visible: !panel.appState.calendarLoadedOnce
        spacing: 10

        LineSymbol {
            Layout.alignment: Qt.AlignHCenter
            name: "calendar"
            size: 32
            color: Theme.textMuted
        }

        MonoText {
            objectName: "calendarLoadingText"
            Layout.alignment: Qt.AlignHCenter
            text: "Lade Kalender…"
            font: Theme.monoCaption
            color: Theme.textMuted
        }
    }

    ColumnLayout {
        objectName: "calendarUnreachable"
        anchors.centerIn: parent
        width: parent.width - 60
        visible: panel.appState.calendarLoadedOnce && calendarModel.count === 0
        spacing: 8

        LineSymbol {
            Layout.alignment: Qt.AlignHCenter
            name: "wifiExclamation"
            size: 28
            color: Theme.textMuted
        }

        MonoText {
            objectName: "calendarUnreachableText"
            Layout.alignment: Qt.AlignHCenter
            text: "Kalender aktuell nicht erreichbar"
            font: Theme.monoCaption
            color: Theme.textPrimary
        }

        MonoText {
            objectName: "calendarRetryText"
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: "Die App versucht automatisch erneut zu laden."
            size: 10
            color: Theme.textMuted
        }
    }

    ListView {
        id: list
        objectName: "calendarList"
        anchors.fill: parent
        visible: panel.appState.calendarLoadedOnce && calendarModel.count > 0
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        model: calendarModel

        section.property: "day"
        section.criteria: ViewSection.FullString
        section.labelPositioning: ViewSection.InlineLabels | ViewSection.CurrentLabelAtStart
        section.delegate: Rectangle {
            id: dayHeader

            required property string section

            objectName: "dayHeader:" + section
            width: ListView.view.width
            implicitHeight: dayTitle.implicitHeight + 8
            color: Theme.headerBackground

            MonoText {
                id: dayTitle
                objectName: "dayTitle"
                anchors { left: parent.left; leftMargin: 10; verticalCenter: parent.verticalCenter }
                text: calendarModel.dayTitle(dayHeader.section)
                size: 9
                color: Theme.textMuted
            }
        }

        delegate: CalendarEventRow {
            width: ListView.view.width
            onClicked: selection.select(eventId)
        }

        ScrollBar.vertical: ScrollBar {}
    }

    // Countdowns move on with the clock, whatever else changes.
    Timer {
        objectName: "countdownTimer"
        interval: 15000
        repeat: true
        running: list.visible
        onTriggered: calendarModel.refreshCountdowns()
    }

    CalendarEventDetailView {
        objectName: "calendarEventSheet"
        detail: selection.detail
        shown: selection.present
        onDismissed: selection.clear()
    }
}
