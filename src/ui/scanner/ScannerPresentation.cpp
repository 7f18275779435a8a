#include "ScannerPresentation.h"

#include "ui/controls/Theme.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace kalvo::ScannerPresentation {

QList<Opportunity> shownOpportunities(const ScannerResult &result)
{
    QList<Opportunity> shown;
    std::copy_if(result.opportunities.cbegin(), result.opportunities.cend(), std::back_inserter(shown),
                 [](const Opportunity &opportunity) { return opportunity.score > minimumScore; });
    return shown;
}

bool isHighlighted(double score)
{
    return score >= highlightScore;
}

QString directionLabel(Opportunity::Direction direction)
{
    switch (direction) {
    case Opportunity::Direction::Long: return u"▲ LONG"_s;
    case Opportunity::Direction::Short: return u"▼ SHORT"_s;
    case Opportunity::Direction::Neutral: break;
    }
    return u"─"_s;
}

QColor directionColor(Opportunity::Direction direction)
{
    switch (direction) {
    case Opportunity::Direction::Long: return Theme::green();
    case Opportunity::Direction::Short: return Theme::red();
    case Opportunity::Direction::Neutral: break;
    }
    return Theme::textSecondary();
}

QString scoreRingText(double score)
{
    return QString::number(qint64(score));
}

QString newsCountText(qint64 newsCount)
{
    return QString::number(newsCount) + u'N';
}

QString riskLabel(const QString &riskSentiment)
{
    return riskSentiment.toUpper();
}

QColor riskColor(const QString &riskSentiment)
{
    if (riskSentiment == "risk-on"_L1)
        return Theme::green();
    if (riskSentiment == "risk-off"_L1)
        return Theme::red();
    return Theme::yellow();
}

QStringList sessionLabels(const QStringList &sessions)
{
    QStringList labels;
    labels.reserve(sessions.size());
    for (const QString &session : sessions)
        labels.append(session.toUpper());
    return labels;
}

QList<std::pair<QString, double>> strengthRanking(const QMap<QString, double> &strength)
{
    QList<std::pair<QString, double>> ranking;
    ranking.reserve(strength.size());
    for (auto it = strength.cbegin(); it != strength.cend(); ++it)
        ranking.append({it.key(), it.value()});
    std::stable_sort(ranking.begin(), ranking.end(),
                     [](const auto &a, const auto &b) { return a.second > b.second; });
    return ranking;
}

QString strengthText(double value)
{
    return QString::asprintf("%+.1f", value);
}

QColor strengthColor(double value)
{
    if (value > 0)
        return Theme::green();
    if (value < 0)
        return Theme::red();
    return Theme::textSecondary();
}

} // namespace kalvo::ScannerPresentation
