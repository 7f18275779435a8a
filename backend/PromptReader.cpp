#include "PromptReader.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace kalvo::backend {

namespace {

// The fixed texts of the app's prompts, as it writes them.
const QString scoringOpening = u"Forex-Analyst. Bewerte diese News.\nTitel: "_s;
const QString deepOpening = u"Senior Forex-Analyst. Tiefenanalyse dieser News.\nTitel: "_s;
const QString overviewOpening = u"Erstelle eine kurze Marktübersicht (JSON):\nNews der letzten 2h:\n"_s;
const QString briefingOpening =
    u"Du bist der Audio-Briefing-Analyst eines Forex-Traders.\nErstelle einen gesprochenen Marktbericht auf Deutsch.\n"_s;
const QString weekendOpening =
    u"Du bist der Audio-Briefing-Analyst eines Forex-Traders.\nErstelle einen gesprochenen Wochenend-Marktbericht auf Deutsch.\n"_s;
const QString instrumentOpening = u"Du bist Senior Quantitative Analyst eines Tier-1 Hedgefonds.\nAnalysiere "_s;

const QString sourceMarker = u"\nQuelle: "_s;
const QString contentMarker = u"\nInhalt: "_s;
const QString jsonOnlyMarker = u"\nNur JSON, kein Markdown:\n"_s;
const QString pairsMarker = u"\nPaare: "_s;
const QString overviewShapeMarker = u"\n\n{\"sentiment\":"_s;
const QString sessionMarker = u"Aktuelle Markt-Session: "_s;
const QString briefingShapeMarker = u"\n\nLiefere NUR JSON, kein Markdown:\n"_s;
const QString openNewsMarker = u"\n\nAktuelle News (neueste zuerst):\n"_s;
const QString openEventsMarker = u"\n\nNächste Makro-Events:\n"_s;
const QString openFocusMarker = u"\n\nFokus des Berichts:\n"_s;
const QString weekendNewsMarker = u"\n\nLetzte bekannte News:\n"_s;
const QString weekendEventsMarker = u"\n\nWichtige Events nächste Woche:\n"_s;
const QString weekendFocusMarker = u"\n\nFokus:\n"_s;
const QString instrumentEndMarker = u" für einen Trader der JETZT entscheiden muss.\n\nMARKTDATEN:\nKurs: "_s;
const QString changeMarker = u" | Tageschange: "_s;
const QString instrumentNewsMarker = u"%\n\nRELEVANTE NEWS:\n"_s;
const QString instrumentEventsMarker = u"\n\nKOMMENDE EVENTS:\n"_s;
const QString instrumentShapeMarker = u"\n\nLiefere NUR valides JSON, kein Markdown:\n"_s;

// The text from `startAt` up to `endAt`, if both were found in that order.
std::optional<QString> slice(const QString &text, qsizetype startAt, qsizetype endAt)
{
    if (startAt < 0 || endAt < startAt)
        return std::nullopt;
    return text.mid(startAt, endAt - startAt);
}

QList<ListedNews> newsLines(const QString &block)
{
    static const QRegularExpression scored(u"^- \\[(-?\\d+)/10\\] (.*) \\(([^()]*)\\)$"_s);
    static const QRegularExpression plain(u"^- (.*) \\(([^()]*)\\)$"_s);
    QList<ListedNews> news;
    for (const QString &line : block.split(u'\n')) {
        if (!line.startsWith("- "_L1) || line == "- Keine News"_L1)
            continue;
        if (const auto match = scored.match(line); match.hasMatch())
            news.append({match.captured(1).toInt(), match.captured(2).trimmed(), match.captured(3)});
        else if (const auto match = plain.match(line); match.hasMatch())
            news.append({-1, match.captured(1).trimmed(), match.captured(2)});
        else
            news.append({-1, line.mid(2).trimmed(), QString()});
    }
    return news;
}

QList<ListedEvent> eventLines(const QString &block)
{
    static const QRegularExpression event(u"^- (.*?) ?(\\S*) (High|Medium|Low|Holiday|unknown) (.*)$"_s);
    QList<ListedEvent> events;
    for (const QString &line : block.split(u'\n')) {
        if (!line.startsWith("- "_L1) || line == "- Keine Events"_L1)
            continue;
        if (const auto match = event.match(line); match.hasMatch())
            events.append({match.captured(1), match.captured(2), match.captured(3), match.captured(4).trimmed()});
        else
            events.append({QString(), QString(), QString(), line.mid(2).trimmed()});
    }
    return events;
}

std::optional<ReadPrompt> readNewsPrompt(const QString &prompt, PromptKind kind, const QString &opening)
{
    // The content is the free part and may contain anything; the fixed reply
    // shape after it is found from the back.
    const qsizetype sourceAt = prompt.indexOf(sourceMarker, opening.size());
    const qsizetype contentAt = sourceAt < 0 ? -1 : prompt.indexOf(contentMarker, sourceAt + sourceMarker.size());
    const qsizetype shapeAt = prompt.lastIndexOf(jsonOnlyMarker);
    if (contentAt < 0 || shapeAt < contentAt + contentMarker.size())
        return std::nullopt;
    ReadPrompt read;
    read.kind = kind;
    read.title = prompt.mid(opening.size(), sourceAt - opening.size());
    read.source = prompt.mid(sourceAt + sourceMarker.size(), contentAt - sourceAt - sourceMarker.size());
    read.content = prompt.mid(contentAt + contentMarker.size(), shapeAt - contentAt - contentMarker.size());
    return read;
}

std::optional<ReadPrompt> readOverview(const QString &prompt)
{
    ReadPrompt read;
    read.kind = PromptKind::MarketOverview;
    const qsizetype shapeAt = prompt.lastIndexOf(overviewShapeMarker);
    const qsizetype pairsAt = shapeAt < 0 ? -1 : prompt.lastIndexOf(pairsMarker, shapeAt);
    if (pairsAt < overviewOpening.size())
        return std::nullopt;
    read.news = newsLines(prompt.mid(overviewOpening.size(), pairsAt - overviewOpening.size()));
    const QString pairs = prompt.mid(pairsAt + pairsMarker.size(), shapeAt - pairsAt - pairsMarker.size());
    for (const QString &pair : pairs.split(u',')) {
        if (!pair.trimmed().isEmpty())
            read.pairs << pair.trimmed();
    }
    return read;
}

std::optional<ReadPrompt> readBriefing(const QString &prompt, PromptKind kind)
{
    const bool open = kind == PromptKind::LiveBriefing;
    const QString &newsMarker = open ? openNewsMarker : weekendNewsMarker;
    const QString &eventsMarker = open ? openEventsMarker : weekendEventsMarker;
    const QString &focusMarker = open ? openFocusMarker : weekendFocusMarker;

    const qsizetype newsAt = prompt.indexOf(newsMarker);
    const qsizetype eventsAt = newsAt < 0 ? -1 : prompt.indexOf(eventsMarker, newsAt + newsMarker.size());
    const qsizetype focusAt = prompt.lastIndexOf(focusMarker);
    const auto news = slice(prompt, newsAt < 0 ? -1 : newsAt + newsMarker.size(), eventsAt);
    const auto events = slice(prompt, eventsAt < 0 ? -1 : eventsAt + eventsMarker.size(), focusAt);
    if (!news || !events)
        return std::nullopt;

    ReadPrompt read;
    read.kind = kind;
    if (open) {
        const qsizetype sessionAt = prompt.indexOf(sessionMarker);
        const auto session = slice(prompt, sessionAt < 0 ? -1 : sessionAt + sessionMarker.size(),
                                   sessionAt < 0 ? -1 : prompt.indexOf(briefingShapeMarker, sessionAt));
        if (!session)
            return std::nullopt;
        const qsizetype dash = session->indexOf(u" — "_s);
        read.sessionLabel = dash < 0 ? *session : session->left(dash);
        read.sessionDetail = dash < 0 ? QString() : session->mid(dash + 3);
    }
    read.news = newsLines(*news);
    read.events = eventLines(*events);
    return read;
}

std::optional<ReadPrompt> readInstrument(const QString &prompt)
{
    const qsizetype nameEnd = prompt.indexOf(instrumentEndMarker, instrumentOpening.size());
    const qsizetype priceAt = nameEnd < 0 ? -1 : nameEnd + instrumentEndMarker.size();
    const qsizetype changeAt = priceAt < 0 ? -1 : prompt.indexOf(changeMarker, priceAt);
    const qsizetype newsAt = changeAt < 0 ? -1 : prompt.indexOf(instrumentNewsMarker, changeAt);
    const qsizetype eventsAt = newsAt < 0 ? -1 : prompt.indexOf(instrumentEventsMarker, newsAt);
    const qsizetype shapeAt = prompt.lastIndexOf(instrumentShapeMarker);
    if (eventsAt < 0 || shapeAt < eventsAt)
        return std::nullopt;
    ReadPrompt read;
    read.kind = PromptKind::InstrumentAnalysis;
    read.instrument = prompt.mid(instrumentOpening.size(), nameEnd - instrumentOpening.size());
    read.price = prompt.mid(priceAt, changeAt - priceAt).toDouble();
    read.changePercent = prompt.mid(changeAt + changeMarker.size(), newsAt - changeAt - changeMarker.size()).toDouble();
    const qsizetype newsStart = newsAt + instrumentNewsMarker.size();
    read.news = newsLines(prompt.mid(newsStart, eventsAt - newsStart));
    const qsizetype eventsStart = eventsAt + instrumentEventsMarker.size();
    read.events = eventLines(prompt.mid(eventsStart, shapeAt - eventsStart));
    return read;
}

} // namespace

std::optional<ReadPrompt> readPrompt(const QString &prompt)
{
    if (prompt.trimmed() == "ping"_L1)
        return ReadPrompt{};
    if (prompt.startsWith(scoringOpening))
        return readNewsPrompt(prompt, PromptKind::NewsScoring, scoringOpening);
    if (prompt.startsWith(deepOpening))
        return readNewsPrompt(prompt, PromptKind::NewsDeepAnalysis, deepOpening);
    if (prompt.startsWith(overviewOpening))
        return readOverview(prompt);
    if (prompt.startsWith(briefingOpening))
        return readBriefing(prompt, PromptKind::LiveBriefing);
    if (prompt.startsWith(weekendOpening))
        return readBriefing(prompt, PromptKind::WeekendBriefing);
    if (prompt.startsWith(instrumentOpening))
        return readInstrument(prompt);
    return std::nullopt;
}

} // namespace kalvo::backend
