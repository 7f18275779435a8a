import QtQuick
import Kalvo

// The news list and, while a headline is selected, the splitter and the
// detail panel below it. The detail slides in from the bottom edge.
Item {
    id: column

    required property var appState
    required property var newsModel
    // Kept while the window lives: the user's last drag.
    property real detailHeight: 340
    readonly property real minDetailHeight: 220
    readonly property real maxDetailHeight: 0.7 * height
    readonly property bool hasSelection: appState.selectedNewsId !== ""
    // Screenshots and tests switch the slide off to see the end state at once.
    property bool animated: true
    // 0 hidden, 1 fully in.
    property real reveal: hasSelection ? 1 : 0

    Behavior on reveal {
        enabled: column.animated
        NumberAnimation { duration: 300; easing.type: Easing.OutCubic }
    }

    clip: true

    NewsPanelView {
        objectName: "newsPanel"
        anchors { left: parent.left; right: parent.right; top: parent.top; bottom: detailGroup.top }
        appState: column.appState
        newsModel: column.newsModel
    }

    Column {
        id: detailGroup
        objectName: "detailGroup"
        anchors { left: parent.left; right: parent.right }
        // In a column too short for it the panel runs off the bottom edge,
        // never off the top, so the splitter stays within reach.
        y: Math.max(0, column.height - column.reveal * height)
        visible: column.reveal > 0
        opacity: column.reveal

        Divider {
            width: parent.width
            color: Theme.borderStrong
        }

        DragHandleBar {
            objectName: "dragHandle"
            width: parent.width
            targetHeight: column.detailHeight
            minHeight: column.minDetailHeight
            maxHeight: column.maxDetailHeight
            onResized: (newHeight) => column.detailHeight = newHeight
        }

        DetailPanelView {
            objectName: "detailPanel"
            width: parent.width
            height: column.detailHeight
            appState: column.appState
            closing: !column.hasSelection
        }
    }
}
