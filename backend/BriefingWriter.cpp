#include "BriefingWriter.h"

#include "AnalystNotes.h"
#include "NewsDigest.h"
#include "PromptReader.h"

#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace kalvo::backend {

namespace {

// The app asks for 110 to 130 words (about a minute spoken); the text aims
// at the upper part of that.
constexpr int minimumWords = 118;
constexpr int maximumWords = 130;
constexpr int headlineWords = 14;

const QStringList openFillers{
    u"Die Renditedifferenzen bleiben der wichtigste Taktgeber für die Wechselkurse."_s,
    u"Die Liquidität verteilt sich derzeit auf die großen Währungspaare."_s,
    u"Achte besonders auf Reaktionen an wichtigen Unterstützungen und Widerständen."_s,
    u"Kurzfristige Übertreibungen werden in solchen Phasen oft schnell korrigiert."_s,
    u"Positionsgrößen sollten zur aktuellen Schwankungsbreite passen."_s,
    u"Wer bereits investiert ist, prüft jetzt seine Stopps."_s,
    u"Neue Einstiege lohnen sich erst nach einer klaren Bestätigung."_s,
    u"Nachrichten ohne Überraschung werden vom Markt meist schnell eingepreist."_s,
    u"Die Renditen der Staatsanleihen bleiben ein wichtiger Taktgeber."_s,
    u"Auch die Rohstoffpreise liefern Hinweise auf die Risikostimmung."_s,
    u"Geduld zahlt sich in unklaren Marktphasen häufig aus."_s,
    u"Beobachte außerdem, wie der Yen auf Bewegungen an den Aktienmärkten reagiert."_s,
    u"Gold gilt weiterhin als Gradmesser für die Nervosität der Anleger."_s,
    u"Enge Spreads sprechen für eine solide Marktliquidität."_s,
    u"Bleib flexibel und passe deine Szenarien an neue Daten an."_s,
};

const QStringList weekendFillers{
    u"Bis zur Eröffnung in Sydney am Sonntagabend bewegen sich die Kurse nicht."_s,
    u"Mögliche Kurslücken zum Wochenstart solltest du einplanen."_s,
    u"Nachrichten vom Wochenende können sich zur Eröffnung sofort auswirken."_s,
    u"Prüfe offene Positionen und ihre Stopps vor dem Wochenstart."_s,
    u"Ein Blick auf die Wochencharts hilft, die großen Trends einzuordnen."_s,
    u"Notiere dir die wichtigsten Marken für die großen Währungspaare."_s,
    u"Die Zinsdifferenzen bleiben auch in der neuen Woche ein zentraler Treiber."_s,
    u"Gold und Yen zeigen, wie vorsichtig die Anleger in die Woche gehen."_s,
    u"Plane Positionsgrößen passend zur erwarteten Schwankungsbreite."_s,
    u"Zur Eröffnung ist die Liquidität oft dünn, die Spreads können breiter sein."_s,
    u"Geduld zahlt sich in der ersten Handelsstunde häufig aus."_s,
    u"Bleib flexibel und passe deine Szenarien an neue Daten an."_s,
    u"Erhol dich gut, damit du konzentriert in die neue Woche startest."_s,
};

// One sentence of the report. Lower `rank` is kept longer when the text has
// to shrink; rank 0 is never dropped.
struct Sentence
{
    QString text;
    int rank = 0;
};

// Dashes and slashes standing alone read badly and count as words.
QString spoken(QString text)
{
    text.replace(u" — "_s, u", "_s);
    text.replace(u" / "_s, u" und "_s);
    return text.simplified();
}

QString quoted(const QString &headline)
{
    QString text = spoken(firstWords(headline, headlineWords));
    while (!text.isEmpty() && (text.back() == u'.' || text.back() == u':' || text.back() == u','))
        text.chop(1);
    return u"„"_s + text + u"“"_s;
}

QString eventPhrase(const ListedEvent &event)
{
    QString phrase = spoken(firstWords(event.title, 8));
    QStringList context;
    if (!event.currency.isEmpty())
        context << event.currency;
    if (!event.time.isEmpty())
        context << event.time;
    if (!context.isEmpty())
        phrase += u" ("_s + context.join(u", "_s) + u')';
    return phrase;
}

QString eventLine(const ListedEvent &event)
{
    return QStringList{event.time, event.currency, event.title}.join(u' ').simplified();
}

// The heaviest headlines, in list order among equals, one per story.
QList<NewsDigest::Item> namedHeadlines(const NewsDigest &digest, int count)
{
    QList<NewsDigest::Item> heaviest;
    for (const NewsDigest::Item &item : digest.items) {
        if (!item.news.headline.trimmed().isEmpty())
            heaviest << item;
    }
    std::stable_sort(heaviest.begin(), heaviest.end(), [](const NewsDigest::Item &a, const NewsDigest::Item &b) {
        return a.signal.score > b.signal.score;
    });
    QList<NewsDigest::Item> named;
    QStringList told;
    for (const NewsDigest::Item &item : std::as_const(heaviest)) {
        const QString cause = AnalystNotes::cause(item.signal);
        if (named.size() < count && !told.contains(cause)) {
            named << item;
            told << cause;
        }
    }
    return named;
}

// "Reuters meldet „…“" or, without a source, the quote alone.
QString cited(const NewsDigest::Item &item)
{
    const QString source = item.news.source.trimmed();
    return source.isEmpty() ? quoted(item.news.headline) : source + u" meldet "_s + quoted(item.news.headline);
}

// What the item means for its currency, in one short sentence.
QString effect(const NewsDigest::Item &item, bool withReason)
{
    const NewsSignal &signal = item.signal;
    if (!withReason) {
        if (signal.currency.isEmpty() || signal.direction == Direction::Neutral)
            return QString();
        return u"Das %1 %2."_s.arg(signal.direction == Direction::Bullish ? u"stützt"_s : u"belastet"_s,
                                   currencyObject(signal.currency));
    }
    return AnalystNotes::consequence(signal, pairsMovedBy(signal));
}

QString currencyView(const NewsDigest &digest)
{
    const QString up = digest.strongest();
    const QString down = digest.weakest();
    if (!up.isEmpty() && !down.isEmpty())
        return u"Unterm Strich wirkt %1 gestützt, %2 dagegen eher belastet."_s.arg(currencySubject(up), currencySubject(down));
    if (!up.isEmpty())
        return u"Unterm Strich wirkt %1 nach der Nachrichtenlage gestützt."_s.arg(currencySubject(up));
    if (!down.isEmpty())
        return u"Unterm Strich wirkt %1 nach der Nachrichtenlage eher belastet."_s.arg(currencySubject(down));
    return u"Eine klare Richtung zeichnet sich bei den großen Währungen noch nicht ab."_s;
}

QString calendarSentence(const QList<ListedEvent> &events, bool weekend)
{
    QStringList phrases;
    for (qsizetype i = 0; i < std::min<qsizetype>(2, events.size()); ++i)
        phrases << eventPhrase(events[i]);
    if (phrases.isEmpty()) {
        return weekend ? u"Wichtige Termine für die kommende Woche sind noch nicht angekündigt."_s
                       : u"Größere Termine stehen im Kalender vorerst nicht an."_s;
    }
    const QString listed = phrases.join(u" und "_s);
    return weekend ? u"Für den Wochenbeginn stehen %1 im Kalender."_s.arg(listed)
                   : u"Im Kalender stehen als Nächstes %1 an."_s.arg(listed);
}

QList<Sentence> openSentences(const ReadPrompt &prompt, const NewsDigest &digest)
{
    QList<Sentence> sentences{{u"Hier ist dein Marktbericht zur aktuellen Lage."_s, 0}};
    if (!prompt.sessionLabel.trimmed().isEmpty()) {
        QString session = u"Aktuell läuft die "_s + spoken(firstWords(prompt.sessionLabel, 6));
        if (!prompt.sessionDetail.trimmed().isEmpty())
            session += u": "_s + spoken(firstWords(prompt.sessionDetail, 8));
        sentences.append({session + u'.', 1});
    }
    const QList<NewsDigest::Item> named = namedHeadlines(digest, 3);
    for (qsizetype i = 0; i < named.size(); ++i) {
        const NewsDigest::Item &item = named[i];
        const QString cause = AnalystNotes::cause(item.signal);
        if (i == 0) {
            sentences.append({u"Wichtigstes Thema: %1. %2."_s.arg(cause, AnalystNotes::capitalised(cited(item))), 0});
            sentences.append({effect(item, true), 3});
        } else if (i == 1) {
            sentences.append({u"Außerdem im Blick: %1, %2."_s.arg(cause, cited(item)), 2});
            if (const QString short_ = effect(item, false); !short_.isEmpty())
                sentences.append({short_, 4});
        } else {
            sentences.append({u"Ebenfalls wichtig: %1."_s.arg(cause), 4});
        }
    }
    if (named.isEmpty())
        sentences.append({u"Frische Schlagzeilen liegen im Moment nicht vor."_s, 0});
    sentences.append({currencyView(digest), 2});
    sentences.append({calendarSentence(prompt.events, false), 1});
    sentences.append({u"Achte rund um diese Termine auf die Reaktion der Kurse und handle mit klarem Risikomanagement."_s, 0});
    return sentences;
}

QList<Sentence> weekendSentences(const ReadPrompt &prompt, const NewsDigest &digest)
{
    QList<Sentence> sentences{
        {u"Hier ist dein Wochenend-Marktbericht."_s, 0},
        {u"Wichtig: Die Forex-Märkte sind gerade geschlossen, es ist Wochenende und kein aktives Trading möglich."_s, 0},
    };
    const QList<NewsDigest::Item> named = namedHeadlines(digest, 3);
    for (qsizetype i = 0; i < named.size(); ++i) {
        const NewsDigest::Item &item = named[i];
        const QString cause = AnalystNotes::cause(item.signal);
        if (i == 0) {
            sentences.append({u"Rückblick auf die Woche, im Vordergrund: %1. %2."_s.arg(cause, AnalystNotes::capitalised(cited(item))), 0});
            sentences.append({effect(item, true), 3});
        } else if (i == 1) {
            sentences.append({u"Außerdem im Gespräch: %1, %2."_s.arg(cause, cited(item)), 2});
        } else {
            sentences.append({u"Ebenfalls Thema: %1."_s.arg(cause), 4});
        }
    }
    if (named.isEmpty())
        sentences.append({u"Neue Schlagzeilen gab es zuletzt kaum."_s, 0});
    sentences.append({currencyView(digest), 2});
    sentences.append({calendarSentence(prompt.events, true), 1});
    sentences.append({u"Nutze das Wochenende zur Analyse und plane deine Szenarien für die kommende Handelswoche."_s, 0});
    return sentences;
}

int wordsOf(const QList<Sentence> &sentences)
{
    int words = 0;
    for (const Sentence &sentence : sentences)
        words += wordCount(sentence.text);
    return words;
}

// Drops the least important sentences while the text is too long, then adds
// fillers before the closing sentence while it is too short. A filler has at
// most twelve words, so the text cannot overshoot while filling.
QString fitted(QList<Sentence> sentences, const QStringList &fillers)
{
    while (wordsOf(sentences) > maximumWords) {
        const auto dropped = std::max_element(sentences.begin(), sentences.end(),
                                              [](const Sentence &a, const Sentence &b) { return a.rank < b.rank; });
        if (dropped == sentences.end() || dropped->rank == 0)
            break;
        sentences.erase(dropped);
    }
    for (const QString &filler : fillers) {
        if (wordsOf(sentences) >= minimumWords)
            break;
        sentences.insert(sentences.size() - 1, {filler, 5});
    }
    QStringList texts;
    for (const Sentence &sentence : sentences)
        texts << sentence.text;
    return texts.join(u' ');
}

QString directionPoint(const NewsDigest &digest)
{
    if (const QString up = digest.strongest(); !up.isEmpty())
        return currencyName(up) + u" gestützt"_s;
    if (const QString down = digest.weakest(); !down.isEmpty())
        return currencyName(down) + u" belastet"_s;
    return QString();
}

QString openTitle(const NewsDigest &digest)
{
    QString focus = digest.strongest().isEmpty() ? digest.weakest() : digest.strongest();
    if (!focus.isEmpty())
        return u"Marktbericht: %1 im Fokus"_s.arg(currencyName(focus));
    if (!digest.themes.isEmpty())
        return u"Marktbericht: %1 im Fokus"_s.arg(categoryLabel(digest.themes.first()));
    return u"Marktbericht: Ruhiger Nachrichtenfluss"_s;
}

} // namespace

int wordCount(const QString &text)
{
    static const QRegularExpression blanks(u"\\s+"_s);
    return int(text.split(blanks, Qt::SkipEmptyParts).size());
}

QString firstWords(const QString &text, int maxWords)
{
    static const QRegularExpression blanks(u"\\s+"_s);
    const QStringList words = text.split(blanks, Qt::SkipEmptyParts);
    return words.mid(0, maxWords).join(u' ');
}

Briefing writeBriefing(const ReadPrompt &prompt)
{
    const bool weekend = prompt.kind == PromptKind::WeekendBriefing;
    const NewsDigest digest = NewsDigest::of(prompt.news);
    Briefing briefing;
    briefing.text = weekend ? fitted(weekendSentences(prompt, digest), weekendFillers)
                            : fitted(openSentences(prompt, digest), openFillers);
    briefing.title = weekend ? u"Wochenende: Rückblick und Ausblick"_s : openTitle(digest);

    QStringList points;
    if (weekend)
        points << u"Märkte geschlossen"_s;
    for (const NewsDigest::Item &item : namedHeadlines(digest, 2))
        points << AnalystNotes::capitalised(spoken(firstWords(AnalystNotes::cause(item.signal), 8)));
    if (const QString direction = directionPoint(digest); !direction.isEmpty())
        points << direction;
    if (!prompt.events.isEmpty())
        points << (weekend ? u"Ausblick: "_s : u"Termin: "_s) + eventPhrase(prompt.events.first());
    points << (weekend ? u"Ausblick auf die neue Handelswoche"_s : u"Risikomanagement beachten"_s)
           << u"Reaktionen an wichtigen Marken beobachten"_s << u"Neue Schlagzeilen abwarten"_s;
    briefing.keyPoints = points.mid(0, 3);

    for (qsizetype i = 0; i < std::min<qsizetype>(3, prompt.events.size()); ++i)
        briefing.watchNext << eventLine(prompt.events[i]);
    return briefing;
}

} // namespace kalvo::backend
