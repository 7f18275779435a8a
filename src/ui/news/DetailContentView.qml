import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Kalvo

// Everything about one headline: meta line, title, badges, the analysis
// sections that have data, the original text and the link to the source.
ColumnLayout {
    id: content

    // The selected item as NewsListModel presents every row.
    property var item: ({})
    property string elapsed
    property bool analyzing: false
    signal deepAnalysisRequested()

    objectName: "detailContent"
    spacing: 0

    RowLayout {
        Layout.fillWidth: true
        Layout.margins: 8
        spacing: 8

        MonoText {
            text: "DETAIL"
            size: Theme.monoCaption.pixelSize
            font.bold: true
            font.letterSpacing: 1
            color: Theme.textSecondary
        }

        Item {
            Layout.fillWidth: true
        }

        Spinner {
            objectName: "contentSpinner"
            visible: content.analyzing
            diameter: 14
        }

        DeepAnalysisButton {
            objectName: "contentDeepAnalysis"
            visible: !content.analyzing
            accent: Theme.purple
            letterSpacing: 1
            horizontalPadding: 8
            verticalPadding: 3
            onClicked: content.deepAnalysisRequested()
        }
    }

    Flickable {
        id: scroller
        objectName: "detailScroller"
        Layout.fillWidth: true
        Layout.fillHeight: true
        clip: true
        contentWidth: width
        contentHeight: body.implicitHeight + 28
        boundsBehavior: Flickable.StopAtBounds

        ScrollBar.vertical: ScrollBar {}

        ColumnLayout {
            id: body
            x: 14
            y: 14
            width: scroller.width - 28
            spacing: 14

            RowLayout {
                spacing: 8

                MonoText {
                    objectName: "detailSource"
                    text: String(content.item.source ?? "").toUpperCase()
                    size: 10
                    font.bold: true
                    font.letterSpacing: 1
                    color: Theme.textMuted
                }

                MonoText {
                    objectName: "detailElapsed"
                    text: content.elapsed
                    size: Theme.monoCaption.pixelSize
                }
            }

            MonoText {
                objectName: "detailTitle"
                Layout.fillWidth: true
                text: content.item.displayTitle ?? ""
                wrapMode: Text.Wrap
                size: 14
                font.bold: true
                color: Theme.white
            }

            RowLayout {
                objectName: "detailBadges"
                visible: content.item.hasAnalysis === true
                spacing: 10

                ScoreBadge {
                    score: content.item.analysisScore ?? 0
                    text: content.item.scoreBadge ?? ""
                }

                UrgencyBadge {
                    glyph: content.item.urgencyBadgeGlyph ?? ""
                    word: content.item.urgencyWord ?? ""
                    tint: content.item.urgencyColor ?? Theme.textSecondary
                }

                CategoryBadge {
                    text: content.item.categoryLabel ?? ""
                }
            }

            Divider {
                Layout.fillWidth: true
                color: Theme.borderSubtle
            }

            SectionBox {
                objectName: "sectionAnalysis"
                Layout.fillWidth: true
                visible: (content.item.analysisText ?? "") !== ""
                title: "KI-ANALYSE"

                MonoText {
                    Layout.fillWidth: true
                    text: content.item.analysisText ?? ""
                    wrapMode: Text.Wrap
                    size: Theme.monoCaption.pixelSize
                }
            }

            SectionBox {
                objectName: "sectionSummary"
                Layout.fillWidth: true
                visible: (content.item.summary ?? "") !== ""
                title: "ZUSAMMENFASSUNG"

                MonoText {
                    Layout.fillWidth: true
                    text: content.item.summary ?? ""
                    wrapMode: Text.Wrap
                    size: Theme.monoCaption.pixelSize
                }
            }

            SectionBox {
                objectName: "sectionPairs"
                Layout.fillWidth: true
                visible: (content.item.pairs ?? []).length > 0
                title: "BETROFFENE PAARE"

                PairsGrid {
                    Layout.fillWidth: true
                    pairs: content.item.pairs ?? []
                }
            }

            SectionBox {
                objectName: "sectionTradeSetup"
                Layout.fillWidth: true
                visible: (content.item.strategy ?? {}).bias !== undefined
                title: "TRADE-SETUP"

                TradeSetupView {
                    Layout.fillWidth: true
                    strategy: content.item.strategy ?? {}
                }
            }

            SectionBox {
                objectName: "sectionFactors"
                Layout.fillWidth: true
                visible: (content.item.factors ?? []).length > 0
                title: "FAKTOREN"

                BulletList {
                    Layout.fillWidth: true
                    items: content.item.factors ?? []
                    bulletColor: Theme.blue
                }
            }

            SectionBox {
                objectName: "sectionRisks"
                Layout.fillWidth: true
                visible: (content.item.risks ?? []).length > 0
                title: "RISIKEN"

                BulletList {
                    Layout.fillWidth: true
                    items: content.item.risks ?? []
                    bulletColor: Theme.orange
                }
            }

            SectionBox {
                objectName: "sectionMacro"
                Layout.fillWidth: true
                visible: (content.item.macro ?? "") !== ""
                title: "MAKRO"

                MonoText {
                    Layout.fillWidth: true
                    text: content.item.macro ?? ""
                    wrapMode: Text.Wrap
                    size: Theme.monoCaption.pixelSize
                    color: Theme.textSecondary
                }
            }

            SectionBox {
                objectName: "sectionWatchNext"
                Layout.fillWidth: true
                visible: (content.item.watchNext ?? "") !== ""
                title: "BEOBACHTEN"

                MonoText {
                    Layout.fillWidth: true
                    text: content.item.watchNext ?? ""
                    wrapMode: Text.Wrap
                    size: Theme.monoCaption.pixelSize
                    color: Theme.cyan
                }
            }

            Divider {
                Layout.fillWidth: true
                color: Theme.borderSubtle
            }

            SectionBox {
                objectName: "sectionOriginal"
                Layout.fillWidth: true
                visible: (content.item.content ?? "") !== ""
                title: "ORIGINAL"

                MonoText {
                    Layout.fillWidth: true
                    text: content.item.content ?? ""
                    wrapMode: Text.Wrap
                    size: 10
                    color: Theme.textSecondary
                }
            }

            PlainButton {
                objectName: "sourceLink"
                visible: (content.item.link ?? "") !== ""
                onClicked: Qt.openUrlExternally(content.item.link)

                MonoText {
                    objectName: "sourceLinkText"
                    text: "→ Quelle öffnen"
                    size: Theme.monoCaption.pixelSize
                    color: Theme.blue
                }
            }
        }
    }
}
