import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Kalvo

// The scanner's latest result: risk mood and sessions, the currency
// strength strip and the opportunities worth a look. It only reads.
Rectangle {
    id: panel

    required property var appState

    color: Theme.background

    ScannerSummary {
        id: summary
        objectName: "scannerSummary"
        appState: panel.appState
    }

    OpportunityListModel {
        id: opportunities
        objectName: "opportunityModel"
        appState: panel.appState
    }

    Flickable {
        id: scroller
        objectName: "scannerScroll"
        anchors.fill: parent
        contentWidth: width
        contentHeight: body.implicitHeight
        clip: true
        boundsBehavior: Flickable.StopAtBounds

        ColumnLayout {
            id: body
            width: scroller.width
            spacing: 0

            ScannerHeaderView {
                objectName: "scannerHeader"
                Layout.fillWidth: true
                summary: summary
            }

            CurrencyStrengthView {
                objectName: "currencyStrength"
                Layout.fillWidth: true
                visible: summary.strengths.length > 0
                strengths: summary.strengths
            }

            Divider {
                Layout.fillWidth: true
                color: Theme.borderSubtle
            }

            Repeater {
                model: opportunities

                OpportunityRowView {
                    Layout.fillWidth: true
                }
            }

            MonoText {
                objectName: "noSetups"
                Layout.fillWidth: true
                Layout.margins: 10
                visible: opportunities.count === 0
                text: "Keine klaren Setups — warte auf mehr Preis- oder News-Impuls."
                wrapMode: Text.Wrap
                size: 10
                color: Theme.textMuted
            }
        }

        ScrollBar.vertical: ScrollBar {}
    }
}
