#pragma once

// The app's prompts, put together piece by piece exactly as the app writes
// them, so that the backend is tested against the real wire texts.

#include <QString>
#include <QStringList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace prompts {

struct News
{
    double score;
    QString headline;
    QString source;
};

struct Event
{
    QString time;
    QString currency;
    QString impact;
    QString title;
};

inline QString scoredLines(const QList<News> &news, qsizetype limit)
{
    QStringList lines;
    for (qsizetype i = 0; i < std::min(limit, news.size()); ++i)
        lines << u"- [%1/10] %2 (%3)"_s.arg(QString::number(qint64(news[i].score)), news[i].headline, news[i].source);
    return lines.join(u'\n');
}

inline QString plainLines(const QList<News> &news, qsizetype limit)
{
    QStringList lines;
    for (qsizetype i = 0; i < std::min(limit, news.size()); ++i)
        lines << u"- %1 (%2)"_s.arg(news[i].headline, news[i].source);
    return lines.join(u'\n');
}

inline QString eventLines(const QList<Event> &events, qsizetype limit)
{
    QStringList lines;
    for (qsizetype i = 0; i < std::min(limit, events.size()); ++i)
        lines << u"- "_s + events[i].time + u' ' + events[i].currency + u' ' + events[i].impact + u' ' + events[i].title;
    return lines.join(u'\n');
}

inline QString orElse(const QString &block, const QString &fallback)
{
    return block.isEmpty() ? fallback : block;
}

inline QString quickScoring(const QString &title, const QString &source, const QString &content)
{
    return u"Forex-Analyst. Bewerte diese News.\nTitel: "_s + title + u"\nQuelle: "_s + source + u"\nInhalt: "_s
        + content.left(1000)
        + uR"(
Nur JSON, kein Markdown:
{"relevant":true,"score":7,"urgency":"hours","headline":"Max 55 Zeichen","analysis":"1-2 Sätze DE","pairs":{"EUR/USD":"bearish"},"category":"central_bank","factors":["Faktor1"]}
score 1-10, urgency: immediate/hours/days, pairs: bullish/bearish/neutral
Nicht Forex-relevant: {"relevant":false})"_s;
}

inline QString deepAnalysis(const QString &title, const QString &source, const QString &content)
{
    return u"Senior Forex-Analyst. Tiefenanalyse dieser News.\nTitel: "_s + title + u"\nQuelle: "_s + source
        + u"\nInhalt: "_s + content.left(800)
        + uR"(
Nur JSON, kein Markdown:
{"summary":"2-3 Sätze DE","score":8,"pairs":{"EUR/USD":{"direction":"bearish","reasoning":"1 Satz","move_pips":"30-50","probability":70}},"strategy":{"bias":"Short EUR/USD","entry":"1.0855","stop":"1.0890","target":"1.0780"},"macro":"1 Satz Makro DE","risks":["Risiko1","Risiko2"],"watch_next":"Folge-Events"})"_s;
}

inline QString marketOverview(const QList<News> &news, const QStringList &pairs)
{
    return u"Erstelle eine kurze Marktübersicht (JSON):\nNews der letzten 2h:\n"_s + scoredLines(news, 10)
        + u"\nPaare: "_s + pairs.join(u", "_s)
        + uR"(

{"sentiment":"risk-on/risk-off/neutral","usd":"bullish/bearish/neutral","eur":"bullish/bearish/neutral","gbp":"bullish/bearish/neutral","jpy":"bullish/bearish/neutral","top_pair":"EUR/USD","themes":["Thema1","Thema2"],"overview":"2-3 Sätze auf Deutsch"})"_s;
}

inline const QString briefingShape =
    uR"({"title":"Kurz-Titel max 6 Wörter","briefing_text":"Fließender Sprechtext 110-130 Wörter auf Deutsch","key_points":["P1","P2","P3"],"watch_next":["Event1","Event2"]})"_s;

inline QString openBriefing(const QString &label, const QString &detail, const QList<News> &news,
                            const QList<Event> &events)
{
    return u"Du bist der Audio-Briefing-Analyst eines Forex-Traders.\nErstelle einen gesprochenen Marktbericht auf "
           u"Deutsch.\n\nWICHTIG — Länge: EXAKT 110-130 Wörter (entspricht ~60 Sekunden Sprechzeit bei normalem "
           u"Tempo).\nSchreibe fließend und natürlich, als ob du ihn vorliest. Keine Aufzählungszeichen, nur "
           u"Fließtext.\nAktuelle Markt-Session: "_s
        + label + u" — "_s + detail + u"\n\nLiefere NUR JSON, kein Markdown:\n"_s + briefingShape
        + u"\n\nAktuelle News (neueste zuerst):\n"_s + orElse(scoredLines(news, 14), u"- Keine News"_s)
        + u"\n\nNächste Makro-Events:\n"_s + orElse(eventLines(events, 10), u"- Keine Events"_s)
        + u"\n\nFokus des Berichts:\n- Was bewegt die Märkte gerade?\n- Welche Instrumente sind heute am "
          u"wichtigsten?\n- Worauf in den nächsten Stunden achten?"_s;
}

inline QString weekendBriefing(const QList<News> &news, const QList<Event> &events)
{
    return u"Du bist der Audio-Briefing-Analyst eines Forex-Traders.\nErstelle einen gesprochenen "
           u"Wochenend-Marktbericht auf Deutsch.\n\nWICHTIG: Die Forex-Märkte sind gerade GESCHLOSSEN (Wochenende). "
           u"Weise explizit darauf hin.\nLänge: EXAKT 110-130 Wörter. Fließtext, keine Aufzählungszeichen.\n\n"
           u"Liefere NUR JSON, kein Markdown:\n"_s
        + briefingShape + u"\n\nLetzte bekannte News:\n"_s + orElse(plainLines(news, 8), u"- Keine News"_s)
        + u"\n\nWichtige Events nächste Woche:\n"_s + orElse(eventLines(events, 8), u"- Keine Events"_s)
        + u"\n\nFokus:\n- Märkte sind geschlossen, kein aktives Trading möglich\n- Rückblick auf die vergangene "
          u"Woche\n- Ausblick: Was erwartet uns kommende Woche?\n- Auf welche Events zu Wochenbeginn achten?"_s;
}

inline QString instrumentAnalysis(const QString &pair, double price, double change, const QList<News> &news,
                                  const QList<Event> &events)
{
    return u"Du bist Senior Quantitative Analyst eines Tier-1 Hedgefonds.\nAnalysiere "_s + pair
        + u" für einen Trader der JETZT entscheiden muss.\n\nMARKTDATEN:\nKurs: "_s + QString::asprintf("%.5g", price)
        + u" | Tageschange: "_s + QString::asprintf("%+.3f", change) + u"%\n\nRELEVANTE NEWS:\n"_s
        + orElse(scoredLines(news, 12), u"Keine relevanten News"_s) + u"\n\nKOMMENDE EVENTS:\n"_s
        + orElse(eventLines(events, 8), u"Keine bevorstehenden Events"_s)
        + uR"(

Liefere NUR valides JSON, kein Markdown:
{"verdict":"bullish","confidence":72,"summary":"2-3 Sätze Kernthese Deutsch","entry_zone":"1.0850-1.0870","stop":"1.0820","target_1":"1.0950","target_2":"1.1020","risk_reward":"1:2.5","timeframe":"1-3 Tage","scenarios":{"bull":{"probability":55,"trigger":"Auslöser"},"base":{"probability":30,"trigger":"Auslöser"},"bear":{"probability":15,"trigger":"Auslöser"}},"macro_drivers":["Treiber1"],"catalysts":["Event1"],"risks":["Risiko1"],"flow_analysis":"1 Satz Orderflow","positioning":"1 Satz Positionierung","momentum":"bullish"})"_s;
}

// A headline list with the words the keyword rules react to.
inline QList<News> sampleNews()
{
    return {
        {8.6, u"Fed cuts rates by 50bp in surprise move"_s, u"Reuters"_s},
        {7.0, u"ECB's Lagarde signals further rate hikes"_s, u"FXStreet"_s},
        {5.2, u"UK inflation slows more than expected"_s, u"BBC Business"_s},
        {4.0, u"Gold climbs to record high"_s, u"Kitco"_s},
    };
}

inline QList<Event> sampleEvents()
{
    return {
        {u"14:30"_s, u"USD"_s, u"High"_s, u"Non-Farm Employment Change"_s},
        {u"Ganztägig"_s, u"EUR"_s, u"Holiday"_s, u"Bank Holiday"_s},
        {u"16:00"_s, u"GBP"_s, u"Medium"_s, u"BoE Gov Bailey Speaks"_s},
    };
}

} // namespace prompts
