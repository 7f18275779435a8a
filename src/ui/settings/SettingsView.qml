import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Kalvo

// The settings sheet: what the AI can do now, the instruments, the price
// interval, the alert threshold and sounds, the way to the AI, and the save.
// Everything edits a working copy; only "Speichern" hands it to the app and
// the files, so closing the sheet discards the edits.
Rectangle {
    id: view

    required property var appState
    signal closeRequested()

    color: Theme.background
    radius: 8
    clip: true

    SettingsDraft {
        id: draft
        objectName: "settingsDraft"
        appState: view.appState
    }

    AiStatus {
        id: ai
        objectName: "aiStatus"
        appState: view.appState
    }

    // A dot and a line of the AI status.
    component StatusLine: RowLayout {
        property alias text: label.text
        property alias dot: dotShape.color
        property alias font: label.font
        property alias textColor: label.color

        Layout.fillWidth: true
        spacing: 8

        Rectangle {
            id: dotShape
            objectName: "dot"
            Layout.alignment: Qt.AlignTop
            Layout.topMargin: 4
            width: 8
            height: 8
            radius: 4
        }

        MonoText {
            id: label
            objectName: "line"
            Layout.fillWidth: true
            size: 11
            color: Theme.textSecondary
            wrapMode: Text.Wrap
        }
    }

    component FieldLabel: MonoText {
        size: 10
        color: Theme.textMuted
    }

    component Field: TextField {
        id: field
        Layout.fillWidth: true
        font.family: Theme.monoFamily
        font.pixelSize: 11
        color: Theme.textPrimary
        placeholderTextColor: Theme.textMuted
        selectByMouse: true
        leftPadding: 8
        rightPadding: 8
        topPadding: 5
        bottomPadding: 5
        background: Rectangle {
            color: Theme.background
            radius: 4
            border.width: 1
            border.color: field.activeFocus ? Theme.blue : Theme.border
        }
    }

    // Keys and tokens: shown as dots, kept out of input-method history.
    component SecretField: Field {
        echoMode: TextInput.Password
        inputMethodHints: Qt.ImhSensitiveData | Qt.ImhNoPredictiveText | Qt.ImhNoAutoUppercase
    }

    component StepButton: PlainButton {
        id: stepButton
        property string sign
        implicitWidth: 26
        implicitHeight: 22

        Rectangle {
            width: stepButton.width
            height: stepButton.height
            radius: 4
            color: Theme.background
            border.color: Theme.border
        }

        MonoText {
            anchors.centerIn: parent
            text: stepButton.sign
            size: 13
            font.bold: true
            color: Theme.textSecondary
        }
    }

    // Label 160 wide, the value, and − / + that move it one step.
    component Stepper: RowLayout {
        id: stepper
        property string label
        property string valueText
        signal stepped(int direction)

        Layout.fillWidth: true
        spacing: 8

        MonoText {
            Layout.preferredWidth: 160
            text: stepper.label
            size: 11
            color: Theme.textSecondary
        }

        MonoText {
            objectName: "stepperValue"
            Layout.preferredWidth: 40
            text: stepper.valueText
            size: 11
            color: Theme.textPrimary
        }

        StepButton {
            objectName: "stepDown"
            sign: "−"
            onClicked: stepper.stepped(-1)
        }

        StepButton {
            objectName: "stepUp"
            sign: "+"
            onClicked: stepper.stepped(1)
        }

        Item {
            Layout.fillWidth: true
        }
    }

    // Label 160 wide, a menu of the alert sounds and a play button.
    component SoundRow: RowLayout {
        id: soundRow
        property string label
        property string selected
        property color playColor
        signal chosen(string name)
        signal played()

        Layout.fillWidth: true
        spacing: 8

        MonoText {
            Layout.preferredWidth: 160
            text: soundRow.label
            size: 11
            color: Theme.textSecondary
        }

        ComboBox {
            id: picker
            objectName: "soundPicker"
            implicitWidth: 150
            implicitHeight: 26
            model: draft.soundNames
            currentIndex: draft.soundNames.indexOf(soundRow.selected)
            displayText: soundRow.selected
            onActivated: (index) => soundRow.chosen(draft.soundNames[index])
            font.family: Theme.monoFamily
            font.pixelSize: 11

            contentItem: MonoText {
                leftPadding: 8
                text: picker.displayText
                size: 11
                verticalAlignment: Text.AlignVCenter
            }
            indicator: MonoText {
                x: picker.width - width - 8
                anchors.verticalCenter: parent.verticalCenter
                text: "▾"
                size: 11
                color: Theme.textSecondary
            }
            background: Rectangle {
                color: Theme.background
                radius: 4
                border.color: Theme.border
            }
            delegate: ItemDelegate {
                required property string modelData
                required property int index
                width: picker.width
                highlighted: picker.highlightedIndex === index
                contentItem: MonoText {
                    text: modelData
                    size: 11
                }
                background: Rectangle {
                    color: highlighted ? Theme.selectionBackground : Theme.cardBackground
                }
            }
            popup.background: Rectangle {
                color: Theme.cardBackground
                border.color: Theme.border
            }
        }

        PlainButton {
            objectName: "soundPlay"
            onClicked: soundRow.played()

            SvgIcon {
                name: "play"
                size: 12
                color: soundRow.playColor
            }
        }

        Item {
            Layout.fillWidth: true
        }
    }

    // A bordered button; `filled` for the prominent one.
    component ActionButton: PlainButton {
        id: action
        property alias text: actionLabel.text
        property bool filled: false
        implicitWidth: actionLabel.implicitWidth + 28
        implicitHeight: actionLabel.implicitHeight + 12

        Rectangle {
            width: action.width
            height: action.height
            radius: 5
            color: action.filled ? Theme.blue : "transparent"
            border.width: 1
            border.color: Theme.blue
        }

        MonoText {
            id: actionLabel
            anchors.centerIn: parent
            font: Theme.monoCaption
            color: action.filled ? Theme.white : Theme.blue
        }
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        Rectangle {
            Layout.fillWidth: true
            implicitHeight: headerRow.implicitHeight + 32
            color: Theme.headerBackground

            RowLayout {
                id: headerRow
                anchors { fill: parent; margins: 16 }

                MonoText {
                    objectName: "settingsTitle"
                    text: "EINSTELLUNGEN"
                    size: 14
                    font.bold: true
                    color: Theme.white
                }

                Item {
                    Layout.fillWidth: true
                }

                TextButton {
                    objectName: "settingsClose"
                    text: "Schließen"
                    onClicked: view.closeRequested()
                }
            }
        }

        Flickable {
            id: scroll
            objectName: "settingsScroll"
            Layout.fillWidth: true
            Layout.fillHeight: true
            contentWidth: width
            contentHeight: content.implicitHeight + 32
            boundsBehavior: Flickable.StopAtBounds
            clip: true

            // Always drawn: the sheet is taller than it looks.
            ScrollBar.vertical: ScrollBar {
                policy: ScrollBar.AlwaysOn
            }

            ColumnLayout {
                id: content
                x: 16
                y: 16
                width: scroll.width - 32
                spacing: 12

                SettingsSection {
                    objectName: "aiStatusSection"
                    title: "KI-STATUS"

                    StatusLine {
                        objectName: "claudeStatus"
                        dot: ai.claudeColor
                        text: ai.claudeText
                    }

                    StatusLine {
                        objectName: "speechStatus"
                        dot: ai.speechColor
                        text: ai.speechText
                    }

                    StatusLine {
                        objectName: "modelStatus"
                        dot: ai.modelColor
                        text: ai.modelText
                        font: Theme.monoCaption
                        textColor: Theme.textPrimary
                    }

                    RowLayout {
                        spacing: 0

                        MonoText {
                            Layout.preferredWidth: 160
                            text: "Version"
                            font: Theme.monoCaption
                            color: Theme.textSecondary
                        }

                        MonoText {
                            objectName: "versionText"
                            text: "v" + draft.version
                            font: Theme.monoCaption
                            color: Theme.blue
                        }
                    }
                }

                SettingsSection {
                    objectName: "pairsSection"
                    title: "MARKT-PAARE"

                    FieldLabel {
                        text: "Haupt-Paare (kommagetrennt)"
                    }

                    Field {
                        objectName: "pairsField"
                        placeholderText: "EUR/USD, GBP/USD, …"
                        text: draft.pairsText
                        onTextEdited: draft.pairsText = text
                    }

                    FieldLabel {
                        text: "Extras (kommagetrennt)"
                    }

                    Field {
                        objectName: "extrasField"
                        placeholderText: "DXY, XAU/USD, …"
                        text: draft.extrasText
                        onTextEdited: draft.extrasText = text
                    }
                }

                SettingsSection {
                    objectName: "intervalsSection"
                    title: "INTERVALLE"

                    Stepper {
                        objectName: "priceRefreshStepper"
                        label: "Preis-Refresh (s)"
                        valueText: draft.priceRefreshSeconds + "s"
                        onStepped: (direction) => draft.stepPriceRefresh(direction)
                    }

                    Stepper {
                        objectName: "alertScoreStepper"
                        label: "Mindest-Score Alarm"
                        valueText: Math.round(draft.alertMinScore).toString()
                        onStepped: (direction) => draft.stepAlertMinScore(direction)
                    }
                }

                SettingsSection {
                    objectName: "soundsSection"
                    title: "NEWS-SOUNDS"

                    SoundRow {
                        objectName: "normalSound"
                        label: "Normal (Impact 1-7)"
                        selected: draft.newsSoundNormal
                        playColor: Theme.blue
                        onChosen: (name) => draft.newsSoundNormal = name
                        onPlayed: draft.preview(false)
                    }

                    SoundRow {
                        objectName: "highImpactSound"
                        label: "High Impact (8-10)"
                        selected: draft.newsSoundHighImpact
                        playColor: Theme.purple
                        onChosen: (name) => draft.newsSoundHighImpact = name
                        onPlayed: draft.preview(true)
                    }
                }

                SettingsSection {
                    objectName: "aiBackendSection"
                    title: "KI-BACKEND"

                    FieldLabel {
                        text: "Claude API-Schlüssel (Anthropic)"
                    }

                    SecretField {
                        objectName: "claudeKeyField"
                        placeholderText: "sk-ant-…"
                        text: draft.claudeKeyText
                        onTextEdited: draft.claudeKeyText = text
                    }

                    FieldLabel {
                        text: "OpenAI API-Schlüssel (Sprachausgabe)"
                    }

                    SecretField {
                        objectName: "openaiKeyField"
                        placeholderText: "sk-…"
                        text: draft.openaiKeyText
                        onTextEdited: draft.openaiKeyText = text
                    }

                    FieldLabel {
                        text: "— oder ein gemeinsames Backend —"
                        color: Theme.textSecondary
                    }

                    FieldLabel {
                        text: "Backend-Adresse"
                    }

                    Field {
                        objectName: "backendField"
                        placeholderText: "https://kalvo-ai.example.org/_functions"
                        text: draft.backendText
                        onTextEdited: draft.backendText = text
                    }

                    MonoText {
                        objectName: "backendInvalid"
                        visible: !draft.backendTextUsable
                        text: "⚠ Keine http(s)-Adresse — wird nicht gespeichert"
                        size: 10
                        color: Theme.orange
                    }

                    FieldLabel {
                        text: "Zugangs-Token"
                    }

                    SecretField {
                        objectName: "tokenField"
                        placeholderText: draft.tokenStored ? "gespeichert — leer lassen, um es zu behalten"
                                                           : "Token vom Betreiber des Backends"
                        text: draft.tokenText
                        onTextEdited: draft.tokenText = text
                    }

                    Repeater {
                        model: ai.notes

                        MonoText {
                            required property string modelData
                            objectName: "aiNote"
                            Layout.fillWidth: true
                            text: modelData
                            size: 10
                            color: Theme.textMuted
                            wrapMode: Text.Wrap
                        }
                    }

                    RowLayout {
                        spacing: 10

                        ActionButton {
                            objectName: "testConnection"
                            text: "Verbindung testen"
                            enabled: !ai.busy
                            onClicked: ai.test()
                        }

                        MonoText {
                            objectName: "testResult"
                            Layout.fillWidth: true
                            text: ai.testResult
                            font: Theme.monoCaption
                            color: ai.testResultColor
                            elide: Text.ElideRight
                        }
                    }
                }

                ColumnLayout {
                    Layout.fillWidth: true
                    Layout.topMargin: 4
                    spacing: 4

                    MonoText {
                        text: "GESPEICHERT UNTER"
                        size: 9
                        font.bold: true
                        font.letterSpacing: 1.5
                        color: Theme.textMuted
                    }

                    MonoText {
                        objectName: "configPath"
                        Layout.fillWidth: true
                        text: draft.configurationPath
                        size: 10
                        color: Theme.textSecondary
                        wrapMode: Text.WrapAnywhere
                    }
                }

                RowLayout {
                    Layout.fillWidth: true
                    spacing: 10

                    MonoText {
                        objectName: "savedText"
                        Layout.fillWidth: true
                        visible: draft.saved
                        text: "✓ Gespeichert — App neu starten für alle Änderungen"
                        font: Theme.monoCaption
                        color: Theme.green
                        wrapMode: Text.Wrap
                    }

                    Item {
                        Layout.fillWidth: true
                        visible: !draft.saved
                    }

                    ActionButton {
                        objectName: "saveButton"
                        text: "Speichern"
                        filled: true
                        onClicked: draft.save()
                    }
                }
            }
        }
    }
}
