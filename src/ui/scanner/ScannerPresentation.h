#pragma once

#include "core/MarketRecords.h"

#include <QColor>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <utility>

// How a scanner result reads on screen: which opportunities are worth a
// row, and the texts and colours of the header, the strength strip and the
// rows. Pure functions, tested here rather than through pixels.
namespace kalvo::ScannerPresentation {

// Opportunities scoring this or less are noise and get no row.
inline constexpr double minimumScore = 0.4;
// From this score on a row is set off from the others.
inline constexpr double highlightScore = 6.0;

// The result's opportunities above the cut, in the result's order.
QList<Opportunity> shownOpportunities(const ScannerResult &result);
bool isHighlighted(double score);

// "▲ LONG", "▼ SHORT" or "─".
QString directionLabel(Opportunity::Direction direction);
QColor directionColor(Opportunity::Direction direction);
// The whole number in the middle of the score ring.
QString scoreRingText(double score);
// "3N"
QString newsCountText(qint64 newsCount);

// "RISK-ON" and so on; green for risk-on, red for risk-off, yellow otherwise.
QString riskLabel(const QString &riskSentiment);
QColor riskColor(const QString &riskSentiment);
QStringList sessionLabels(const QStringList &sessions);

// Currencies with their strength, strongest first; equal values keep the
// alphabetical order of the currency codes.
QList<std::pair<QString, double>> strengthRanking(const QMap<QString, double> &strength);
// "+0.5", "-1.2", "+0.0"
QString strengthText(double value);
QColor strengthColor(double value);

} // namespace kalvo::ScannerPresentation
