import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Kalvo

// The update alert: installed and offered version side by side, the release
// notes when there are any, and the choice between now and later. Both
// buttons clear the pending version, so the alert comes back only with the
// next check that finds one. Return takes the main action; Escape, through
// the sheet, is "Später".
Rectangle {
    id: view

    // The offered version (AppVersionInfo); undefined only in the instant the alert closes.
    required property var info
    // The UpdateService holding the pending version.
    required property var updater
    signal dismissRequested()

    readonly property string offeredVersion: info ? info.version : ""
    readonly property string releaseNotes: info ? info.releaseNotes : ""
    readonly property string installedVersion: updater ? updater.currentVersion : "1.0.0"

    function later() {
        updater.updateAvailable = undefined
        dismissRequested()
    }

    function updateNow() {
        updater.checkByUser()
        updater.updateAvailable = undefined
        dismissRequested()
    }

    implicitWidth: 420
    implicitHeight: column.implicitHeight
    color: "#050d1a"
    radius: 8
    clip: true
    focus: true
    Keys.onReturnPressed: updateNow()
    Keys.onEnterPressed: updateNow()

    ColumnLayout {
        id: column
        width: parent.width
        spacing: 0

        Item {
            objectName: "updateHeader"
            Layout.fillWidth: true
            implicitHeight: headerRow.implicitHeight + 40

            // Rounded at the top like the sheet, square where the content begins.
            Rectangle {
                anchors.fill: parent
                radius: view.radius
                color: "#0a1628"
            }

            Rectangle {
                anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
                height: view.radius
                color: "#0a1628"
            }

            RowLayout {
                id: headerRow
                anchors { fill: parent; margins: 20 }
                spacing: 10

                Rectangle {
                    implicitWidth: 3
                    implicitHeight: 24
                    color: Theme.blue
                }

                MonoText {
                    objectName: "updateTitle"
                    text: "UPDATE VERFÜGBAR"
                    size: 13
                    font.bold: true
                    font.letterSpacing: 1.5
                    color: Theme.white
                }

                Rectangle {
                    objectName: "versionBadge"
                    Layout.maximumWidth: 180
                    implicitWidth: badgeText.implicitWidth + 16
                    implicitHeight: badgeText.implicitHeight + 6
                    radius: 4
                    color: Theme.withOpacity(Theme.blue, 0.15)

                    MonoText {
                        id: badgeText
                        objectName: "versionBadgeText"
                        anchors.centerIn: parent
                        width: Math.min(implicitWidth, parent.width - 16)
                        text: "v" + view.offeredVersion
                        size: 11
                        elide: Text.ElideRight
                    }
                }

                Item {
                    Layout.fillWidth: true
                }
            }
        }

        ColumnLayout {
            Layout.fillWidth: true
            Layout.margins: 20
            spacing: 12

            RowLayout {
                spacing: 6

                MonoText {
                    Layout.preferredWidth: 60
                    text: "AKTUELL"
                    size: 9
                    color: Theme.textMuted
                }

                MonoText {
                    objectName: "installedVersion"
                    Layout.fillWidth: true
                    text: "v" + view.installedVersion
                    size: 11
                    color: Theme.textSecondary
                    elide: Text.ElideRight
                }
            }

            RowLayout {
                spacing: 6

                MonoText {
                    Layout.preferredWidth: 60
                    text: "NEU"
                    size: 9
                    color: Theme.textMuted
                }

                MonoText {
                    objectName: "offeredVersion"
                    Layout.fillWidth: true
                    text: "v" + view.offeredVersion
                    size: 11
                    font.weight: Font.DemiBold
                    color: Theme.blue
                    elide: Text.ElideRight
                }
            }

            Divider {
                objectName: "notesDivider"
                Layout.fillWidth: true
                visible: view.releaseNotes !== ""
            }

            MonoText {
                objectName: "notesHeading"
                visible: view.releaseNotes !== ""
                text: "ÄNDERUNGEN"
                size: 9
                color: Theme.textMuted
            }

            // Notes come from the server: long ones scroll instead of
            // stretching the sheet past the window.
            Flickable {
                id: notesArea
                objectName: "notesArea"
                Layout.fillWidth: true
                Layout.preferredHeight: Math.min(notesText.implicitHeight, 260)
                visible: view.releaseNotes !== ""
                contentHeight: notesText.implicitHeight
                clip: true
                boundsBehavior: Flickable.StopAtBounds
                ScrollBar.vertical: ScrollBar {
                    policy: notesText.implicitHeight > 260 ? ScrollBar.AlwaysOn : ScrollBar.AsNeeded
                }

                MonoText {
                    id: notesText
                    objectName: "releaseNotes"
                    width: notesArea.width
                    text: view.releaseNotes
                    size: 11
                    wrapMode: Text.Wrap
                }
            }
        }

        Divider {
            Layout.fillWidth: true
        }

        RowLayout {
            Layout.margins: 20
            spacing: 10

            KalvoSecondaryButtonStyle {
                objectName: "laterButton"
                text: "Später"
                onClicked: view.later()
            }

            KalvoPrimaryButtonStyle {
                objectName: "updateNowButton"
                text: "Jetzt aktualisieren"
                onClicked: view.updateNow()
            }
        }
    }
}
