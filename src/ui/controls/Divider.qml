import QtQuick
import Kalvo

// A one-pixel line; horizontal unless `vertical`.
Rectangle {
    property bool vertical: false

    implicitWidth: vertical ? 1 : 0
    implicitHeight: vertical ? 0 : 1
    color: Theme.border
}
