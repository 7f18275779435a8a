#include "ScannerSummary.h"

#include "app/AppStateBinding.h"
#include "ScannerPresentation.h"

#include <QVariantMap>

using namespace Qt::StringLiterals;

namespace kalvo {

namespace SP = ScannerPresentation;

ScannerSummary::ScannerSummary(QObject *parent) : QObject(parent) {}

QObject *ScannerSummary::appStateObject() const
{
    return m_state;
}

void ScannerSummary::setAppStateObject(QObject *object)
{
    if (!rebindAppState(this, m_state, object))
        return;
    if (m_state)
        connect(m_state, &AppState::scannerChanged, this, &ScannerSummary::changed);
    emit appStateChanged();
    emit changed();
}

const ScannerResult &ScannerSummary::result() const
{
    static const ScannerResult none;
    return m_state ? m_state->scanner() : none;
}

QString ScannerSummary::riskLabel() const
{
    return SP::riskLabel(result().riskSentiment);
}

QColor ScannerSummary::riskColor() const
{
    return SP::riskColor(result().riskSentiment);
}

QStringList ScannerSummary::sessions() const
{
    return SP::sessionLabels(result().sessions);
}

QVariantList ScannerSummary::strengths() const
{
    QVariantList cells;
    for (const auto &[currency, value] : SP::strengthRanking(result().currencyStrength)) {
        cells.append(QVariantMap{{u"currency"_s, currency},
                                 {u"text"_s, SP::strengthText(value)},
                                 {u"color"_s, SP::strengthColor(value)}});
    }
    return cells;
}

} // namespace kalvo
