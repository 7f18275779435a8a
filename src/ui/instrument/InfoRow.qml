import QtQuick
import QtQuick.Layouts
import Kalvo

// A label and its text side by side.
RowLayout {
    id: row

    property string label
    property alias value: valueText.text

    spacing: 10

    MonoText {
        Layout.preferredWidth: 120
        Layout.alignment: Qt.AlignTop
        text: row.label
        size: 9
        font.bold: true
        font.letterSpacing: 1
        color: Theme.textMuted
    }

    MonoText {
        id: valueText
        objectName: "infoValue"
        Layout.fillWidth: true
        wrapMode: Text.Wrap
        size: 11
    }
}
