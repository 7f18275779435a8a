#include "PricePresentation.h"

#include "ui/controls/Theme.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace kalvo::PricePresentation {

namespace {

// Under a minute the caller's word, then whole minutes, hours and days.
QString ageText(const QDateTime &from, const QDateTime &now, const QString &underAMinute)
{
    const qint64 seconds = from.msecsTo(now) / 1000;
    if (seconds < 60)
        return underAMinute;
    if (seconds < 3600)
        return u"vor %1 min"_s.arg(seconds / 60);
    if (seconds < 86400)
        return u"vor %1 h"_s.arg(seconds / 3600);
    return u"vor %1 d"_s.arg(seconds / 86400);
}

// "EUR/USD" -> "eurusd": how names and pair keys are compared.
QString prepared(const QString &instrument)
{
    return QString(instrument).remove(u'/').toLower();
}

} // namespace

QColor changeColor(const std::optional<PriceData> &quote)
{
    if (!quote)
        return Theme::textMuted();
    if (quote->changePct > 0.001)
        return Theme::green();
    if (quote->changePct < -0.001)
        return Theme::red();
    return Theme::textSecondary();
}

QString arrow(const std::optional<PriceData> &quote)
{
    if (!quote)
        return {};
    switch (quote->direction) {
    case PriceData::Direction::Up: return u"▲"_s;
    case PriceData::Direction::Down: return u"▼"_s;
    case PriceData::Direction::Flat: break;
    }
    return u"─"_s;
}

QString changeText(double changePct)
{
    return QString::asprintf("%+.3f%%", changePct);
}

QString directionText(const std::optional<PriceData> &quote)
{
    return quote ? PriceData::directionText(quote->direction) : u"—"_s;
}

QString quoteAge(const QDateTime &timestamp, const QDateTime &now)
{
    if (!timestamp.isValid())
        return u"—"_s;
    return ageText(timestamp, now, u"gerade eben"_s);
}

QString compactAge(const QDateTime &published, const QDateTime &now)
{
    return ageText(published, now, u"jetzt"_s);
}

QList<NewsItem> relatedNews(const QList<NewsItem> &news, const QString &instrument)
{
    const QString name = prepared(instrument);
    const QString base = name.left(3);
    const QString quote = name.mid(3);
    const auto mentions = [&](const NewsItem &item) {
        const QString text =
            (item.title + u' ' + (item.analysis ? item.analysis->headline : QString())).toLower();
        return (!base.isEmpty() && text.contains(base)) || (!quote.isEmpty() && text.contains(quote));
    };
    const auto names = [&](const NewsItem &item) {
        if (!item.analysis)
            return false;
        const QList<QString> pairs = item.analysis->pairs.keys();
        return std::any_of(pairs.cbegin(), pairs.cend(), [&](const QString &pair) { return prepared(pair) == name; });
    };

    QList<NewsItem> related;
    for (const NewsItem &item : news) {
        if (related.size() == maxRelatedNews)
            break;
        if (mentions(item) || names(item))
            related.append(item);
    }
    return related;
}

std::optional<CurrencyInfo> currencyInfo(const QString &code)
{
    static const QHash<QString, CurrencyInfo> table{
        {u"USD"_s,
         {u"🇺🇸"_s, u"US-Dollar"_s, u"USA"_s,
          u"Leitwährung der Welt. Reagiert stark auf Fed, NFP, CPI, BIP-Daten."_s}},
        {u"EUR"_s,
         {u"🇪🇺"_s, u"Euro"_s, u"Eurozone"_s,
          u"Zweitwichtigste Reservewährung. EZB-Entscheidungen und Euro-Inflation im Fokus."_s}},
        {u"GBP"_s,
         {u"🇬🇧"_s, u"Britisches Pfund"_s, u"UK"_s,
          u"Oft volatil — Brexit-Nachwirkungen, BoE-Politik und UK-Konjunkturdaten."_s}},
        {u"JPY"_s,
         {u"🇯🇵"_s, u"Japanischer Yen"_s, u"Japan"_s,
          u"Safe-Haven-Währung. BoJ-YCC und Zinsdifferenz zu USA/EU bestimmen JPY."_s}},
        {u"CHF"_s,
         {u"🇨🇭"_s, u"Schweizer Franken"_s, u"Schweiz"_s,
          u"Safe-Haven. SNB interveniert gelegentlich. Kaum Inflation, stabile Wirtschaft."_s}},
        {u"CAD"_s,
         {u"🇨🇦"_s, u"Kanadischer Dollar"_s, u"Kanada"_s,
          u"Rohstoff-Währung. Ölpreis und BoC-Zinsentscheid beeinflussen CAD stark."_s}},
        {u"AUD"_s,
         {u"🇦🇺"_s, u"Australischer Dollar"_s, u"Australien"_s,
          u"Rohstoff-Währung (Eisenerz, Gold). RBA-Politik und China-Konjunktur relevant."_s}},
        {u"NZD"_s,
         {u"🇳🇿"_s, u"Neuseeland-Dollar"_s, u"Neuseeland"_s,
          u"Ähnlich AUD, reagiert auf Milch-/Rohstoffpreise und RBNZ-Entscheidungen."_s}},
        {u"XAU"_s,
         {u"🥇"_s, u"Gold (XAU)"_s, u"Global"_s,
          u"Safe-Haven und Inflationsschutz. USD-Stärke und Realzinsen bestimmen den Preis."_s}},
        {u"DXY"_s,
         {u"📊"_s, u"US-Dollar-Index"_s, u"Global"_s,
          u"Misst den USD gegen einen Korb aus 6 Währungen (EUR, JPY, GBP, CAD, SEK, CHF)."_s}},
    };
    if (auto it = table.constFind(code); it != table.constEnd())
        return *it;
    return std::nullopt;
}

QStringList currencyCodes(const QString &instrument)
{
    QStringList codes;
    for (const QString &code : instrument.split(u'/')) {
        if (currencyInfo(code) && !codes.contains(code))
            codes.append(code);
    }
    return codes;
}

QColor verdictColor(const QString &verdict)
{
    if (verdict == "bullish"_L1)
        return Theme::green();
    if (verdict == "bearish"_L1)
        return Theme::red();
    return Theme::yellow();
}

QVariantMap analysisValues(const InstrumentAnalysis &analysis)
{
    const auto scenario = [](const QString &label, qint64 prob, const QString &trigger, const QColor &color) {
        return QVariantMap{{u"label"_s, label},
                           {u"prob"_s, QString::number(prob) + u'%'},
                           {u"trigger"_s, trigger},
                           {u"color"_s, color}};
    };
    return {
        {u"verdict"_s, analysis.verdict.toUpper()},
        {u"verdictColor"_s, verdictColor(analysis.verdict)},
        {u"confidence"_s, u"Confidence: %1%"_s.arg(analysis.confidence)},
        {u"summary"_s, analysis.summary},
        {u"entryZone"_s, analysis.entryZone},
        {u"stop"_s, analysis.stop},
        {u"target1"_s, analysis.target1},
        {u"target2"_s, analysis.target2},
        {u"riskReward"_s, analysis.riskReward},
        {u"timeframe"_s, analysis.timeframe},
        {u"macroDrivers"_s, analysis.macroDrivers},
        {u"catalysts"_s, analysis.catalysts},
        {u"risks"_s, analysis.risks},
        {u"flowAnalysis"_s, analysis.flowAnalysis},
        {u"positioning"_s, analysis.positioning},
        {u"momentum"_s, analysis.momentum},
        {u"scenarios"_s,
         QVariantList{scenario(u"BULLISH"_s, analysis.bullProb, analysis.bullTrigger, Theme::green()),
                      scenario(u"BASIS"_s, analysis.baseProb, analysis.baseTrigger, Theme::yellow()),
                      scenario(u"BEARISH"_s, analysis.bearProb, analysis.bearTrigger, Theme::red())}},
    };
}

} // namespace kalvo::PricePresentation
