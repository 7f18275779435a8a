import QtQuick
import QtQuick.Controls
import QtQuick.Window
import Kalvo

// The application window: the main view on the dark background. It starts
// the application state when it appears and stops it when it closes.
Window {
    id: window

    required property var appState
    // The platform's fixed-width family, handed over by the shell.
    required property string monoFamily
    // The UpdateService; without one (tests, benchmarks) no update alert appears.
    property var updateService: null

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

    // The update alert belongs to the window, not to the main view: it may
    // come at any moment, over whatever sheet is open. Shown while a newer
    // version is pending; closing it in any way clears that version.
    Sheet {
        id: updateSheet
        objectName: "updateSheet"
        parent: Overlay.overlay
        width: 420
        height: updateLoader.implicitHeight
        shown: window.updateService ? window.updateService.hasUpdate : false
        onDismissed: window.updateService.updateAvailable = undefined

        Loader {
            id: updateLoader
            anchors.fill: parent
            active: updateSheet.shown
            focus: true
            sourceComponent: UpdateAlertView {
                objectName: "updateAlert"
                info: window.updateService.updateAvailable
                updater: window.updateService
                onDismissRequested: updateSheet.close()
            }
        }
    }

    Component.onCompleted: appState.startIfNeeded()
    onClosing: appState.stop()
}
