import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Kalvo

// The live news list: header with count and feed health, the filter field
// and the rows, newest first.
ColumnLayout {
    id: panel

    required property var appState
    required property var newsModel
    property alias filterText: filterField.text

    spacing: 0

    PanelHeaderStyle {
        objectName: "newsHeader"
        Layout.fillWidth: true
        // The count is of all headlines, filtered or not.
        title: "LIVE NEWS  ·  " + panel.appState.newsCount

        Rectangle {
            objectName: "healthDot"
            width: 8
            height: 8
            radius: 4
            color: panel.appState.newsFetchHealthy ? Theme.green : Theme.red
        }
    }

    Rectangle {
        Layout.fillWidth: true
        implicitHeight: filterRow.implicitHeight + 12
        color: Theme.cardBackground

        RowLayout {
            id: filterRow
            anchors { fill: parent; leftMargin: 10; rightMargin: 10; topMargin: 6; bottomMargin: 6 }
            spacing: 6

            SvgIcon {
                name: "search"
                size: 11
                color: Theme.textMuted
            }

            TextField {
                id: filterField
                objectName: "newsFilter"
                Layout.fillWidth: true
                padding: 0
                background: null
                placeholderText: "Filter…"
                placeholderTextColor: Theme.textMuted
                font: Theme.monoCaption
                color: Theme.textPrimary
                selectionColor: Theme.selectionBackground
                selectedTextColor: Theme.white
                selectByMouse: true
            }

            PlainButton {
                objectName: "filterClear"
                visible: filterField.text !== ""
                onClicked: filterField.text = ""

                SvgIcon {
                    name: "clear"
                    size: 11
                    color: Theme.textMuted
                }
            }
        }

        Divider {
            anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
            color: Theme.borderSubtle
        }
    }

    Rectangle {
        Layout.fillWidth: true
        Layout.fillHeight: true
        color: Theme.background

        ListView {
            id: list
            objectName: "newsList"
            anchors.fill: parent
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            reuseItems: true
            // Rows beyond the visible ones would be built ahead in the
            // background on every large change, a first cycle among them;
            // scrolling takes rows from the reuse pool instead.
            cacheBuffer: 0
            model: NewsFilterModel {
                objectName: "newsFilterModel"
                sourceModel: panel.newsModel
                filterText: filterField.text
            }
            delegate: NewsRowView {
                width: ListView.view.width
                appState: panel.appState
            }

            ScrollBar.vertical: ScrollBar {}
        }
    }

    // Relative ages move on every ten seconds, whatever else changes.
    Timer {
        objectName: "ageTimer"
        interval: 10000
        repeat: true
        running: true
        onTriggered: panel.newsModel.refreshAges()
    }
}
