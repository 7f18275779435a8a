#include "ScannerRules.h"

#include "KeywordMatcher.h"
#include "core/Instruments.h"

#include <QTextBoundaryFinder>
#include <QHash>
#include <QTimeZone>

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

namespace kalvo::scanner {

namespace {

// Headlines below these scores are noise for the strength and the opportunity
// scores, and for the risk mood respectively.
constexpr double minimumNewsScore = 2.0;
constexpr double minimumRiskScore = 3.0;
constexpr qint64 strengthWindowSeconds = 6 * 3600;
constexpr int riskContentCharacters = 300;
constexpr int newsTakenPerPair = 8;

const QStringList bullishKeywords{u"rate hike"_s, u"hawkish"_s, u"strong"_s, u"beat"_s, u"above forecast"_s,
                                  u"higher than expected"_s, u"inflation up"_s, u"tightening"_s, u"surge"_s,
                                  u"rally"_s};
const QStringList bearishKeywords{u"rate cut"_s, u"dovish"_s, u"weak"_s, u"miss"_s, u"below forecast"_s,
                                  u"lower than expected"_s, u"recession"_s, u"slowdown"_s, u"drop"_s,
                                  u"selloff"_s};
const QStringList riskOnKeywords{u"growth"_s, u"optimism"_s, u"rally"_s, u"stimulus"_s,
                                 u"jobs"_s,   u"employment"_s, u"expansion"_s, u"deal"_s};
const QStringList riskOffKeywords{u"recession"_s, u"crisis"_s, u"conflict"_s, u"war"_s,
                                  u"default"_s,   u"inflation"_s, u"tightening"_s, u"collapse"_s};

// The leading blank keeps " usd" from matching inside other words.
const QList<std::pair<QString, QStringList>> &currencyKeywords()
{
    static const QList<std::pair<QString, QStringList>> table{
        {u"USD"_s, {u" usd"_s, u"dollar"_s, u"federal reserve"_s, u"fed"_s}},
        {u"EUR"_s, {u" eur"_s, u"euro"_s, u"ecb"_s, u"european central bank"_s}},
        {u"GBP"_s, {u" gbp"_s, u"pound"_s, u"sterling"_s, u"bank of england"_s, u"boe"_s}},
        {u"JPY"_s, {u" jpy"_s, u"yen"_s, u"bank of japan"_s, u"boj"_s}},
        {u"AUD"_s, {u" aud"_s, u"aussie"_s, u"reserve bank of australia"_s, u"rba"_s}},
        {u"CHF"_s, {u" chf"_s, u"franc"_s, u"snb"_s, u"swiss national bank"_s}},
        {u"CAD"_s, {u" cad"_s, u"loonie"_s, u"bank of canada"_s, u"boc"_s}},
        {u"NZD"_s, {u" nzd"_s, u"kiwi"_s, u"rbnz"_s}},
    };
    return table;
}

// Every text the scanner looks for, so one pass per headline answers them all:
// the keyword lists, the currency words, and the codes and names of the
// ranked instruments.
const KeywordMatcher &matcher()
{
    static const KeywordMatcher instance = [] {
        QStringList patterns = bullishKeywords + bearishKeywords + riskOnKeywords + riskOffKeywords;
        for (const auto &[currency, words] : currencyKeywords())
            patterns += words;
        for (const QString &instrument : scannerPairs()) {
            const auto [base, quote] = splitPair(instrument);
            patterns << base.toLower() << quote.toLower() << instrument.toLower();
        }
        return KeywordMatcher(patterns);
    }();
    return instance;
}

// How many code units the first `count` user-perceived characters take.
qsizetype firstCharactersLength(const QString &text, int count)
{
    if (text.size() <= count)
        return text.size();
    // Plain text cuts at a code unit; only marks, surrogates and CR LF make a
    // user-perceived character longer than one.
    const QStringView head = QStringView(text).left(count + 1);
    const bool simple = std::none_of(head.begin(), head.end(), [](QChar c) {
        return c.unicode() >= 0x300 || c == u'\r';
    });
    if (simple)
        return count;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype end = 0;
    for (int seen = 0; seen < count; ++seen) {
        end = finder.toNextBoundary();
        if (end < 0)
            return text.size();
    }
    return end;
}

// A text the scanner looks for, with its place in the matcher when it has one.
struct Needle
{
    explicit Needle(const QString &text) : lower(text.toLower()), index(matcher().indexOf(lower)) {}
    QString lower;
    int index;
};

QList<int> indicesOf(const QStringList &keywords)
{
    QList<int> indices;
    for (const QString &keyword : keywords)
        indices.append(matcher().indexOf(keyword));
    return indices;
}

struct KeywordIndices
{
    QList<int> bullish = indicesOf(bullishKeywords);
    QList<int> bearish = indicesOf(bearishKeywords);
    QList<int> riskOn = indicesOf(riskOnKeywords);
    QList<int> riskOff = indicesOf(riskOffKeywords);
    QList<std::pair<QString, QList<int>>> currencies = [] {
        QList<std::pair<QString, QList<int>>> table;
        for (const auto &[currency, words] : currencyKeywords())
            table.append({currency, indicesOf(words)});
        return table;
    }();
};

const KeywordIndices &keywordIndices()
{
    static const KeywordIndices indices;
    return indices;
}

// Which of the scanner's words a headline holds; depends on its texts only.
struct TextMatches
{
    QString title;
    QString content;
    QString lowerText; // set when the texts are not plain ASCII
    std::vector<qsizetype> ends;
    qsizetype riskLength = 0;
};

std::shared_ptr<const TextMatches> matchTexts(const NewsItem &item)
{
    auto matches = std::make_shared<TextMatches>();
    matches->title = item.title;
    matches->content = item.content;
    const qsizetype riskContent = firstCharactersLength(item.content, riskContentCharacters);
    if (QtPrivate::isAscii(item.title) && QtPrivate::isAscii(item.content)) {
        // The matcher folds ASCII capitals itself; no lower-cased copy needed.
        matches->riskLength = item.title.size() + 1 + riskContent;
        matches->ends = matcher().firstEnds({item.title, u" ", item.content});
    } else {
        // Lower-casing works per character, so the lower-cased risk text
        // (title and the first 300 characters of content) is a prefix of the
        // lower-cased full text, though its length may differ.
        const QString head = (item.title + u' ' + item.content.left(riskContent)).toLower();
        matches->lowerText = head + item.content.mid(riskContent).toLower();
        matches->riskLength = head.size();
        matches->ends = matcher().firstEnds(matches->lowerText);
    }
    return matches;
}

// Scans run every 15 seconds over a news list that changes a few items at a
// time; the text work of a headline is done once, not once per scan.
bool sameText(const QString &a, const QString &b)
{
    // Copies of one list share their strings; spare those the comparison.
    return (a.constData() == b.constData() && a.size() == b.size()) || a == b;
}

std::shared_ptr<const TextMatches> cachedMatches(const NewsItem &item)
{
    thread_local QHash<QString, std::shared_ptr<const TextMatches>> known;
    if (const auto it = known.constFind(item.id);
        it != known.constEnd() && sameText((*it)->title, item.title) && sameText((*it)->content, item.content))
        return *it;
    if (known.size() > 2000)
        known.clear();
    std::shared_ptr<const TextMatches> matches = matchTexts(item);
    known.insert(item.id, matches);
    return matches;
}

// One headline as the rules see it: its score, weight and which of the
// scanner's words occur in it.
class Headline
{
public:
    explicit Headline(const NewsItem &item) : m_item(&item), m_matches(cachedMatches(item))
    {
        const int bullish = countOf(keywordIndices().bullish);
        const int bearish = countOf(keywordIndices().bearish);
        m_sentiment = bullish > bearish ? 1 : bearish > bullish ? -1 : 0;
    }

    const NewsItem &item() const { return *m_item; }
    double score() const { return m_item->score; }
    int sentiment() const { return m_sentiment; }

    // Substring test on the full lower-cased text; an empty needle never matches.
    bool contains(const Needle &needle) const
    {
        if (needle.lower.isEmpty())
            return false;
        if (needle.index < 0)
            return lowerText().contains(needle.lower);
        return m_matches->ends[size_t(needle.index)] >= 0;
    }

    int riskOnCount() const { return countOf(keywordIndices().riskOn, m_matches->riskLength); }
    int riskOffCount() const { return countOf(keywordIndices().riskOff, m_matches->riskLength); }

    QStringList mentionedCurrencies() const
    {
        QStringList currencies;
        for (const auto &[currency, indices] : keywordIndices().currencies) {
            if (std::any_of(indices.begin(), indices.end(), [this](int index) { return found(index); }))
                currencies.append(currency);
        }
        return currencies;
    }

    std::optional<QString> analysisDirection(const QString &instrument) const
    {
        if (!m_item->analysis)
            return std::nullopt;
        const auto it = m_item->analysis->pairs.constFind(instrument);
        if (it == m_item->analysis->pairs.constEnd())
            return std::nullopt;
        return *it;
    }

private:
    QString lowerText() const
    {
        if (!m_matches->lowerText.isNull())
            return m_matches->lowerText;
        return (m_item->title + u' ' + m_item->content).toLower();
    }

    bool found(int index, qsizetype within = -1) const
    {
        const qsizetype end = m_matches->ends[size_t(index)];
        return end >= 0 && (within < 0 || end <= within);
    }

    // Each keyword counts once, however often it occurs.
    int countOf(const QList<int> &indices, qsizetype within = -1) const
    {
        return int(std::count_if(indices.begin(), indices.end(), [&](int index) { return found(index, within); }));
    }

    const NewsItem *m_item;
    std::shared_ptr<const TextMatches> m_matches;
    int m_sentiment = 0;
};

// The instrument's texts, resolved once per scan.
struct PairNeedles
{
    explicit PairNeedles(const QString &instrument)
        : instrument(instrument), base(splitPair(instrument).first), quote(splitPair(instrument).second), name(instrument)
    {
    }
    QString instrument;
    Needle base;
    Needle quote;
    Needle name;
};

double weightOf(const Headline &headline)
{
    return std::max(headline.score() / 10, 0.3);
}

bool newsMentionsPair(const Headline &headline, const PairNeedles &pair)
{
    if (headline.analysisDirection(pair.instrument))
        return true;
    return headline.contains(pair.base) || headline.contains(pair.quote) || headline.contains(pair.name);
}

int pairSentiment(const Headline &headline, const PairNeedles &pair)
{
    const bool hasBase = headline.contains(pair.base);
    const bool hasQuote = headline.contains(pair.quote);
    if (!hasBase && !hasQuote)
        return 0;
    const int k = headline.sentiment();
    // A headline naming only the quote currency moves the pair the other way.
    return k == 0 || hasBase ? k : -k;
}

QMap<QString, double> computeCurrencyStrength(const QMap<QString, PriceData> &prices,
                                              const QList<Headline> &headlines, const QDateTime &now)
{
    QMap<QString, double> strength;
    QMap<QString, int> count;
    for (const QString &currency : scannerCurrencies()) {
        strength.insert(currency, 0);
        count.insert(currency, 0);
    }
    const auto tracked = [&](const QString &currency) { return strength.contains(currency); };

    for (auto it = prices.cbegin(); it != prices.cend(); ++it) {
        const auto [base, quote] = splitPair(it.key());
        if (!tracked(base) || !tracked(quote))
            continue;
        strength[base] += it->changePct;
        strength[quote] -= it->changePct;
        ++count[base];
        ++count[quote];
    }

    const QDateTime cutoff = now.addSecs(-strengthWindowSeconds);
    for (const Headline &headline : headlines) {
        if (headline.score() < minimumNewsScore || headline.item().published < cutoff)
            continue;
        const double w = weightOf(headline);
        if (const auto &analysis = headline.item().analysis) {
            // A model's view weighs in without counting as an observation.
            for (auto it = analysis->pairs.cbegin(); it != analysis->pairs.cend(); ++it) {
                const auto [base, quote] = splitPair(it.key());
                if (!tracked(base) || !tracked(quote))
                    continue;
                if (it.value() == "bullish"_L1) {
                    strength[base] += w;
                    strength[quote] -= 0.5 * w;
                } else if (it.value() == "bearish"_L1) {
                    strength[base] -= w;
                    strength[quote] += 0.5 * w;
                }
            }
        }
        const int k = headline.sentiment();
        if (k == 0)
            continue;
        for (const QString &currency : headline.mentionedCurrencies()) {
            strength[currency] += w * k * 0.6;
            ++count[currency];
        }
    }

    for (const QString &currency : scannerCurrencies()) {
        double &value = strength[currency];
        if (count[currency] > 0)
            value /= count[currency];
        value = std::clamp(value, -10.0, 10.0);
    }
    return strength;
}

QString capitalizedWords(const QString &text)
{
    QStringList words = text.split(u' ');
    for (QString &word : words) {
        if (!word.isEmpty())
            word = word.left(1).toUpper() + word.mid(1).toLower();
    }
    return words.join(u' ');
}

double roundedTo(double value, double factor)
{
    return std::round(value * factor) / factor; // std::round: half away from zero
}

struct DatedEvent
{
    QString currency;
    QDateTime date;
};

Opportunity scoreOpportunity(const QString &instrument, const QMap<QString, PriceData> &prices,
                             const QList<Headline> &headlines, const QMap<QString, double> &strength,
                             const QList<DatedEvent> &highImpact, const QStringList &sessions,
                             const QDateTime &now)
{
    double total = 0;
    double longPoints = 0;
    double shortPoints = 0;
    QStringList reasons;
    bool warning = false;

    const auto [base, quote] = splitPair(instrument);
    const double bs = strength.value(base, 0);
    const double qs = strength.value(quote, 0);
    const double diff = bs - qs;
    if (std::abs(diff) > 0.3) {
        const double points = std::min(std::abs(diff) * 0.8, 2.0);
        total += points;
        // The "+" is part of the text, also before a negative value.
        if (diff > 0) {
            longPoints += points;
            reasons << base + " stark (+"_L1 + QString::asprintf("%.1f", bs) + u')';
        } else {
            shortPoints += points;
            reasons << quote + " stark (+"_L1 + QString::asprintf("%.1f", qs) + u')';
        }
    }

    if (const auto quoteIt = prices.constFind(instrument); quoteIt != prices.constEnd()) {
        const double c = quoteIt->changePct;
        if (std::abs(c) > 0.05) {
            const double points = std::min(std::abs(c) * 4.0, 2.0);
            total += points;
            if (c > 0) {
                longPoints += points;
                reasons << u"Momentum ▲"_s + QString::asprintf("%+.2f", c) + u'%';
            } else {
                shortPoints += points;
                reasons << u"Momentum ▼"_s + QString::asprintf("%+.2f", c) + u'%';
            }
        }
    }

    const PairNeedles needles(instrument);
    QList<const Headline *> related;
    for (const Headline &headline : headlines) {
        if (headline.score() >= minimumNewsScore && newsMentionsPair(headline, needles))
            related.append(&headline);
    }
    double bull = 0;
    double bear = 0;
    for (qsizetype i = std::max<qsizetype>(0, related.size() - newsTakenPerPair); i < related.size(); ++i) {
        const Headline &headline = *related[i];
        const double w = weightOf(headline);
        if (const std::optional<QString> direction = headline.analysisDirection(instrument)) {
            if (*direction == "bullish"_L1)
                bull += w;
            else if (*direction == "bearish"_L1)
                bear += w;
        } else {
            const int p = pairSentiment(headline, needles);
            if (p > 0)
                bull += w;
            else if (p < 0)
                bear += w;
        }
    }
    const double newsBalance = bull - bear;
    if (std::abs(newsBalance) > 0.2) {
        const double points = std::min(std::abs(newsBalance) * 1.5, 3.0);
        total += points;
        // The number is the weighted sum cut to an integer, not a count.
        if (newsBalance > 0) {
            longPoints += points;
            reasons << u"News: %1x bullish"_s.arg(qint64(bull));
        } else {
            shortPoints += points;
            reasons << u"News: %1x bearish"_s.arg(qint64(bear));
        }
    }

    for (const QString &session : sessions) {
        if (sessionPairs().value(session).contains(instrument)) {
            reasons << capitalizedWords(session) + " Session aktiv"_L1;
            total += 1.0;
            break;
        }
    }

    for (const DatedEvent &event : highImpact) {
        if (!instrument.contains(event.currency))
            continue;
        const double minutes = double(now.msecsTo(event.date)) / 60000.0;
        if (minutes >= 0 && minutes <= 30) {
            reasons << u"⚠ High-Impact in %1 min"_s.arg(qint64(minutes));
            warning = true;
        }
    }

    Opportunity::Direction direction = Opportunity::Direction::Neutral;
    if (shortPoints + 0.4 < longPoints)
        direction = Opportunity::Direction::Long;
    else if (longPoints + 0.4 < shortPoints)
        direction = Opportunity::Direction::Short;
    else if (diff > 0.25)
        direction = Opportunity::Direction::Long;
    else if (diff < -0.25)
        direction = Opportunity::Direction::Short;
    else
        total *= 0.7;

    // A warning cut off here still keeps `warning` set.
    if (reasons.size() > 4)
        reasons = reasons.first(4);

    Opportunity opportunity;
    opportunity.id = instrument;
    opportunity.pair = instrument;
    opportunity.score = std::min(roundedTo(total, 10), 10.0);
    opportunity.direction = direction;
    opportunity.reasons = reasons;
    opportunity.warning = warning;
    opportunity.newsCount = related.size();
    opportunity.baseStrength = roundedTo(bs, 100);
    opportunity.quoteStrength = roundedTo(qs, 100);
    return opportunity;
}

// The calendar changes every half hour at most while scans run every 15
// seconds; remembering parsed times spares the date parser nearly all its work.
std::optional<QDateTime> parsedDate(const CalendarEvent &event)
{
    thread_local QHash<QString, std::optional<QDateTime>> known;
    if (const auto it = known.constFind(event.time); it != known.constEnd())
        return *it;
    if (known.size() > 4096)
        known.clear();
    const std::optional<QDateTime> date = event.parsedDate();
    known.insert(event.time, date);
    return date;
}

// Dates of the high-impact events, looked up once per scan rather than once per instrument.
QList<DatedEvent> highImpactEvents(const QList<CalendarEvent> &events)
{
    QList<DatedEvent> dated;
    for (const CalendarEvent &event : events) {
        if (event.impact != CalendarEvent::Impact::High || event.currency.isEmpty())
            continue;
        if (const std::optional<QDateTime> date = parsedDate(event))
            dated.append({event.currency, *date});
    }
    return dated;
}

QString riskSentiment(const QList<Headline> &headlines)
{
    double on = 0;
    double off = 0;
    for (const Headline &headline : headlines) {
        if (headline.score() < minimumRiskScore)
            continue;
        const double w = headline.score() / 10;
        on += w * headline.riskOnCount();
        off += w * headline.riskOffCount();
    }
    if (off * 1.5 < on)
        return u"risk-on"_s;
    if (on * 1.5 < off)
        return u"risk-off"_s;
    return u"neutral"_s;
}

QList<Headline> headlinesOf(const QList<NewsItem> &news)
{
    QList<Headline> headlines;
    headlines.reserve(news.size());
    for (const NewsItem &item : news) {
        // Too weak to count anywhere; skip the text work.
        if (item.score >= minimumNewsScore)
            headlines.append(Headline(item));
    }
    return headlines;
}

} // namespace

const QStringList &scannerCurrencies()
{
    static const QStringList currencies{u"USD"_s, u"EUR"_s, u"GBP"_s, u"JPY"_s,
                                        u"AUD"_s, u"CHF"_s, u"CAD"_s, u"NZD"_s};
    return currencies;
}

const QStringList &scannerPairs()
{
    static const QStringList pairs{u"EUR/USD"_s, u"GBP/USD"_s, u"USD/JPY"_s, u"USD/CHF"_s,
                                   u"AUD/USD"_s, u"USD/CAD"_s, u"NZD/USD"_s, u"EUR/GBP"_s,
                                   u"EUR/JPY"_s, u"GBP/JPY"_s, u"EUR/CHF"_s, u"AUD/JPY"_s,
                                   u"GBP/CHF"_s, u"EUR/AUD"_s, u"GBP/AUD"_s, u"XAU/USD"_s};
    return pairs;
}

std::pair<QString, QString> splitPair(const QString &instrument)
{
    if (instrument == "XAU/USD"_L1)
        return {u"XAU"_s, u"USD"_s};
    const QString letters = QString(instrument).remove(u'/');
    if (letters.size() < 6)
        return {};
    return {letters.left(3), letters.mid(3, 3)};
}

int keywordSentiment(const NewsItem &item)
{
    return Headline(item).sentiment();
}

QStringList mentionedCurrencies(const QString &lowerText)
{
    QStringList currencies;
    for (const auto &[currency, words] : currencyKeywords()) {
        if (std::any_of(words.begin(), words.end(), [&](const QString &word) { return lowerText.contains(word); }))
            currencies.append(currency);
    }
    return currencies;
}

QStringList activeSessions(const QDateTime &now)
{
    const int h = now.toUTC().time().hour();
    QStringList sessions;
    if (h >= 22 || h <= 7)
        sessions << u"sydney"_s;
    if (h <= 8)
        sessions << u"tokyo"_s;
    if (h >= 7 && h <= 16)
        sessions << u"london"_s;
    if (h >= 12 && h <= 21)
        sessions << u"new_york"_s;
    if (sessions.isEmpty())
        sessions << u"off"_s;
    return sessions;
}

QString computeRiskSentiment(const QList<NewsItem> &news)
{
    return riskSentiment(headlinesOf(news));
}

ScannerResult scan(const QMap<QString, PriceData> &prices, const QList<NewsItem> &news,
                   const QList<CalendarEvent> &events, const QDateTime &now)
{
    const QList<Headline> headlines = headlinesOf(news);
    const QMap<QString, double> strength = computeCurrencyStrength(prices, headlines, now);
    const QList<DatedEvent> highImpact = highImpactEvents(events);
    const QStringList sessions = activeSessions(now);

    QList<Opportunity> opportunities;
    for (const QString &instrument : scannerPairs())
        opportunities.append(scoreOpportunity(instrument, prices, headlines, strength, highImpact, sessions, now));
    std::stable_sort(opportunities.begin(), opportunities.end(), [](const Opportunity &a, const Opportunity &b) {
        const bool aDirected = a.direction != Opportunity::Direction::Neutral;
        const bool bDirected = b.direction != Opportunity::Direction::Neutral;
        if (aDirected != bDirected)
            return aDirected;
        return a.score > b.score;
    });

    ScannerResult result;
    result.opportunities = opportunities;
    result.currencyStrength = strength;
    result.sessions = sessions;
    result.riskSentiment = riskSentiment(headlines);
    result.updated = now;
    return result;
}

} // namespace kalvo::scanner
