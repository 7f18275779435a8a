#include "BriefingPrompts.h"

#include "ExtractJson.h"
#include "PromptLines.h"
#include "core/JsonFields.h"

using namespace Qt::StringLiterals;

namespace kalvo::BriefingPrompts {

namespace {

constexpr qsizetype overviewNews = 10;
constexpr qsizetype openMarketNews = 14;
constexpr qsizetype openMarketEvents = 10;
constexpr qsizetype weekendNews = 8;
constexpr qsizetype weekendEvents = 8;

QString orPlaceholder(const QString &block, const QString &placeholder)
{
    return block.isEmpty() ? placeholder : block;
}

QString newsBlock(const QString &lines)
{
    return orPlaceholder(lines, u"- Keine News"_s);
}

QString eventsBlock(const QString &lines)
{
    return orPlaceholder(lines, u"- Keine Events"_s);
}

const QString &briefingShape()
{
    static const QString shape = uR"PROMPT({"title":"Kurz-Titel max 6 Wörter","briefing_text":"Fließender Sprechtext 110-130 Wörter auf Deutsch","key_points":["P1","P2","P3"],"watch_next":["Event1","Event2"]})PROMPT"_s;
    return shape;
}

QString directionOf(const QJsonObject &object, QLatin1StringView key)
{
    return json::text(object, key).value_or(u"neutral"_s);
}

} // namespace

QString openMarketTitle()
{
    return u"Live Briefing"_s;
}

QString weekendTitle()
{
    return u"Wochenend-Briefing"_s;
}

QString marketOverview(const QList<NewsItem> &news, const QStringList &pairs)
{
    return u"Erstelle eine kurze Marktübersicht (JSON):\nNews der letzten 2h:\n"_s
           + PromptLines::scoredNews(news, overviewNews) + "\nPaare: "_L1 + pairs.join(", "_L1) + uR"PROMPT(

{"sentiment":"risk-on/risk-off/neutral","usd":"bullish/bearish/neutral","eur":"bullish/bearish/neutral","gbp":"bullish/bearish/neutral","jpy":"bullish/bearish/neutral","top_pair":"EUR/USD","themes":["Thema1","Thema2"],"overview":"2-3 Sätze auf Deutsch"})PROMPT"_s;
}

QString openMarketBriefing(const MarketStatus &status, const QList<NewsItem> &news, const QList<CalendarEvent> &events)
{
    return uR"PROMPT(Du bist der Audio-Briefing-Analyst eines Forex-Traders.
Erstelle einen gesprochenen Marktbericht auf Deutsch.

WICHTIG — Länge: EXAKT 110-130 Wörter (entspricht ~60 Sekunden Sprechzeit bei normalem Tempo).
Schreibe fließend und natürlich, als ob du ihn vorliest. Keine Aufzählungszeichen, nur Fließtext.
Aktuelle Markt-Session: )PROMPT"_s
           + status.label + u" — "_s + status.detail + u"\n\nLiefere NUR JSON, kein Markdown:\n"_s + briefingShape()
           + u"\n\nAktuelle News (neueste zuerst):\n"_s
           + newsBlock(PromptLines::scoredNews(news, openMarketNews)) + u"\n\nNächste Makro-Events:\n"_s
           + eventsBlock(PromptLines::events(events, openMarketEvents)) + uR"PROMPT(

Fokus des Berichts:
- Was bewegt die Märkte gerade?
- Welche Instrumente sind heute am wichtigsten?
- Worauf in den nächsten Stunden achten?)PROMPT"_s;
}

QString weekendBriefing(const QList<NewsItem> &news, const QList<CalendarEvent> &events)
{
    return uR"PROMPT(Du bist der Audio-Briefing-Analyst eines Forex-Traders.
Erstelle einen gesprochenen Wochenend-Marktbericht auf Deutsch.

WICHTIG: Die Forex-Märkte sind gerade GESCHLOSSEN (Wochenende). Weise explizit darauf hin.
Länge: EXAKT 110-130 Wörter. Fließtext, keine Aufzählungszeichen.

Liefere NUR JSON, kein Markdown:
)PROMPT"_s
           + briefingShape() + u"\n\nLetzte bekannte News:\n"_s
           + newsBlock(PromptLines::plainNews(news, weekendNews)) + u"\n\nWichtige Events nächste Woche:\n"_s
           + eventsBlock(PromptLines::events(events, weekendEvents)) + uR"PROMPT(

Fokus:
- Märkte sind geschlossen, kein aktives Trading möglich
- Rückblick auf die vergangene Woche
- Ausblick: Was erwartet uns kommende Woche?
- Auf welche Events zu Wochenbeginn achten?)PROMPT"_s;
}

std::optional<MarketOverview> parseMarketOverview(const QString &reply)
{
    const std::optional<QJsonObject> found = extractJSON(reply);
    if (!found)
        return std::nullopt;
    MarketOverview overview;
    overview.id = newRecordId();
    overview.sentiment = directionOf(*found, "sentiment"_L1);
    overview.usd = directionOf(*found, "usd"_L1);
    overview.eur = directionOf(*found, "eur"_L1);
    overview.gbp = directionOf(*found, "gbp"_L1);
    overview.jpy = directionOf(*found, "jpy"_L1);
    overview.topPair = json::text(*found, "top_pair"_L1).value_or(QString());
    overview.themes = json::textList(*found, "themes"_L1).value_or(QStringList());
    overview.overview = json::text(*found, "overview"_L1).value_or(QString());
    return overview;
}

std::optional<LiveBriefing> parseLiveBriefing(const QString &reply, const QString &defaultTitle)
{
    const std::optional<QJsonObject> found = extractJSON(reply);
    if (!found)
        return std::nullopt;
    LiveBriefing briefing;
    briefing.id = newRecordId();
    briefing.title = json::text(*found, "title"_L1).value_or(defaultTitle);
    briefing.text = json::text(*found, "briefing_text"_L1).value_or(QString());
    briefing.keyPoints = json::textList(*found, "key_points"_L1).value_or(QStringList());
    briefing.watchNext = json::textList(*found, "watch_next"_L1).value_or(QStringList());
    return briefing;
}

LiveBriefing noNewsBriefing()
{
    return {newRecordId(),
            u"Keine neuen News"_s,
            u"Aktuell liegen keine neuen, relevanten Marktmeldungen vor. Beobachte die nächsten Kalenderereignisse für frische Impulse."_s,
            {u"Keine neuen Headlines"_s},
            {},
            std::nullopt};
}

LiveBriefing weekendFallbackBriefing(const QString &statusDetail)
{
    return {newRecordId(),
            u"Wochenende — Märkte geschlossen"_s,
            u"Die Forex-Märkte sind aktuell geschlossen. "_s + statusDetail
                + u". Nutze das Wochenende zur Analyse und Vorbereitung auf die kommende Handelswoche."_s,
            {u"Märkte geschlossen"_s, statusDetail},
            {},
            std::nullopt};
}

} // namespace kalvo::BriefingPrompts
