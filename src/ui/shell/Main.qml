import QtQuick
import QtQuick.Window
import Kalvo

// The application window: the main view on the dark background. It starts
// the application state when it appears and stops it when it closes.
Window {
    id: window

    required property var appState
    // The platform's fixed-width family, handed over by the shell.
    required property string monoFamily

    width: 1400
    height: 900
    minimumWidth: 960
    minimumHeight: 300
    visible: true
    title: "Kalvo"
    color: Theme.background

    Binding {
        target: Theme
        property: "monoFamily"
        value: window.monoFamily
        when: window.monoFamily !== ""
    }

    MainView {
        objectName: "mainView"
        anchors.fill: parent
        appState: window.appState
    }

    Component.onCompleted: appState.startIfNeeded()
    onClosing: appState.stop()
}
