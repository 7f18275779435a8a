import QtQuick
import QtQuick.Layouts
import Kalvo

// The economic calendar or, switched by the header button, the scanner.
Rectangle {
    id: column

    required property var appState

    color: Theme.panelBackground

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: 30
            color: Theme.headerBackground

            // The title stays the same while the scanner is shown.
            MonoText {
                anchors { left: parent.left; leftMargin: 12; verticalCenter: parent.verticalCenter }
                text: "WIRTSCHAFTSKALENDER"
                size: 10
                font.bold: true
                font.letterSpacing: 1.5
                color: Theme.cyan
            }

            PlainButton {
                objectName: "panelToggle"
                anchors { right: parent.right; rightMargin: 10; verticalCenter: parent.verticalCenter }
                onClicked: column.appState.showScannerPanel = !column.appState.showScannerPanel

                Rectangle {
                    width: toggleLabel.implicitWidth + 16
                    height: toggleLabel.implicitHeight + 6
                    radius: 3
                    color: Theme.cardBackground

                    MonoText {
                        id: toggleLabel
                        objectName: "panelToggleLabel"
                        anchors.centerIn: parent
                        text: column.appState.showScannerPanel ? "KALENDER" : "SCANNER"
                        size: 9
                        font.bold: true
                        font.letterSpacing: 1
                        color: column.appState.showScannerPanel ? Theme.blue : Theme.textMuted
                    }
                }
            }

            Divider {
                anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
            }
        }

        // Both stay alive while hidden, so switching back keeps the
        // calendar's scroll position and an open event sheet.
        CalendarPanelView {
            objectName: "calendarPanel"
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: !column.appState.showScannerPanel
            appState: column.appState
        }

        ScannerPanelView {
            objectName: "scannerPanel"
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: column.appState.showScannerPanel
            appState: column.appState
        }
    }
}
