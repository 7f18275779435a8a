#include "NewsFeeds.h"

#include "Headlines.h"
#include "MarketEvents.h"
#include "PriceQuotes.h"
#include "SeededRandom.h"

#include <QHash>
#include <QLocale>
#include <QMutex>
#include <QTimeZone>
#include <QUrlQuery>
#include <QXmlStreamWriter>

#include <algorithm>
#include <bit>
#include <cmath>
#include <initializer_list>

using namespace Qt::StringLiterals;

namespace kalvo::sim {

namespace {

constexpr QLatin1StringView outlets[]{
    "Reuters"_L1, "Bloomberg"_L1, "CNBC"_L1, "Financial Times"_L1, "FXStreet"_L1, "Forbes"_L1,
    "MarketWatch"_L1, "Yahoo Finance"_L1, "The Wall Street Journal"_L1, "Investing.com"_L1,
};

// ---------------------------------------------------------------------------
// The feeds and how each publisher writes its documents.

enum class Format { Rss2, Atom, Rdf };

enum class DateStyle {
    Rfc822Offset,    // Fri, 03 May 2024 14:20:00 +0000 (in the feed's offset)
    Rfc822Gmt,       // Fri, 03 May 2024 14:20:00 GMT
    Rfc822Est,       // Fri, 03 May 2024 09:20:00 EST
    Rfc822PaddedDay, // Fri,  3 May 2024 14:20:00 GMT (day padded with a blank)
    Rfc822NoSeconds, // Fri, 03 May 2024 14:20 +0000
    IsoFraction,     // 2024-05-03T14:20:00.000Z
    IsoOffset,       // 2024-05-03T23:20:00+09:00
    Plain,           // 2024-05-03 14:20:00 (no zone)
};

enum class Body {
    EscapedHtml, // <description>&lt;p&gt;…&lt;/p&gt;</description>
    Text,
    CData,       // <description><![CDATA[<p>…</p>]]></description>
    Absent,
    GoogleSnippet,
};

struct FeedProfile
{
    QLatin1StringView path;
    QLatin1StringView search; // the Google News "q", else empty
    QLatin1StringView title;
    QLatin1StringView site;
    QLatin1StringView linkPath; // {date}, {slug} and {k} are filled in
    Format format;
    DateStyle dates;
    int offsetMinutes;
    Body body;
    bool contentEncoded; // RSS content:encoded / Atom content, as CDATA
    bool dcDateToo;      // a dc:date after pubDate (the later one wins)
    int items;
    int weight; // share of the headline stream
    std::initializer_list<Topic> topics;
};

const FeedProfile profiles[] = {
    {"/feed/news/"_L1, {}, "InvestingLive - News"_L1, "https://investinglive.com"_L1, "/news/{slug}-{k}/"_L1,
     Format::Rss2, DateStyle::Rfc822Offset, 0, Body::EscapedHtml, true, false, 50, 10,
     {Topic::Data, Topic::CentralBanks, Topic::Pairs, Topic::Commodities, Topic::RiskMood, Topic::Shocks}},
    {"/feed/centralbank/"_L1, {}, "InvestingLive - Central Banks"_L1, "https://investinglive.com"_L1,
     "/centralbank/{slug}-{k}/"_L1, Format::Rss2, DateStyle::Rfc822Offset, 0, Body::EscapedHtml, true, false, 30, 3,
     {Topic::CentralBanks, Topic::Fed, Topic::Ecb}},
    {"/news/feed"_L1, {}, "FXStreet News"_L1, "https://www.fxstreet.com"_L1, "/news/{slug}-{k}"_L1, Format::Rss2,
     DateStyle::Rfc822Gmt, 0, Body::EscapedHtml, false, false, 50, 8,
     {Topic::Pairs, Topic::EurUsd, Topic::Commodities, Topic::Data}},
    {"/feeds/forex-market-news"_L1, {}, "DailyFX Forex Market News"_L1, "https://www.dailyfx.com"_L1,
     "/news/forex/{slug}-{k}.html"_L1, Format::Atom, DateStyle::IsoFraction, 0, Body::EscapedHtml, false, false, 30, 4,
     {Topic::Pairs, Topic::Data, Topic::RiskMood}},
    {"/feed/"_L1, {}, "Action Forex"_L1, "https://www.actionforex.com"_L1, "/action-insight/{slug}-{k}/"_L1,
     Format::Rss2, DateStyle::Rfc822Offset, 0, Body::CData, true, false, 30, 4, {Topic::Technicals}},
    {"/rss/news.rss"_L1, {}, "Investing.com - News"_L1, "https://www.investing.com"_L1, "/news/forex-news/{slug}-{k}"_L1,
     Format::Rss2, DateStyle::Plain, 0, Body::Absent, false, false, 40, 6,
     {Topic::Pairs, Topic::Commodities, Topic::Markets, Topic::Data}},
    {"/rss/search"_L1, "forex market"_L1, "\"forex market\" - Google News"_L1, "https://news.google.com"_L1, {},
     Format::Rss2, DateStyle::Rfc822Gmt, 0, Body::GoogleSnippet, false, false, 100, 6,
     {Topic::Pairs, Topic::RiskMood, Topic::Data}},
    {"/rss/search"_L1, "federal reserve rate decision"_L1, "\"federal reserve rate decision\" - Google News"_L1,
     "https://news.google.com"_L1, {}, Format::Rss2, DateStyle::Rfc822Gmt, 0, Body::GoogleSnippet, false, false, 100, 3,
     {Topic::Fed}},
    {"/rss/search"_L1, "ecb interest rate"_L1, "\"ecb interest rate\" - Google News"_L1, "https://news.google.com"_L1, {},
     Format::Rss2, DateStyle::Rfc822Gmt, 0, Body::GoogleSnippet, false, false, 100, 3, {Topic::Ecb}},
    {"/id/10000664/device/rss/rss.html"_L1, {}, "Finance"_L1, "https://www.cnbc.com"_L1, "/{date}/{slug}-{k}.html"_L1,
     Format::Rss2, DateStyle::Rfc822Gmt, 0, Body::Text, false, false, 30, 4,
     {Topic::Markets, Topic::Economy, Topic::Fed}},
    {"/services/xml/rss/nyt/Economy.xml"_L1, {}, "NYT > Business > Economy"_L1, "https://www.nytimes.com"_L1,
     "/{date}/business/economy/{slug}-{k}.html"_L1, Format::Rss2, DateStyle::Rfc822Offset, 0, Body::Text, false, false, 40, 3,
     {Topic::Economy, Topic::Fed}},
    {"/news/business/rss.xml"_L1, {}, "BBC News - Business"_L1, "https://www.bbc.co.uk"_L1, "/news/business-{k}"_L1,
     Format::Rss2, DateStyle::Rfc822Gmt, 0, Body::CData, false, false, 50, 4, {Topic::Economy, Topic::Markets}},
    {"/business/rss"_L1, {}, "Business | The Guardian"_L1, "https://www.theguardian.com"_L1,
     "/business/{date}/{slug}-{k}"_L1, Format::Rss2, DateStyle::Rfc822Gmt, 0, Body::EscapedHtml, false, true, 40, 3,
     {Topic::Economy, Topic::CentralBanks}},
    {"/public/rss/mw_topstories"_L1, {}, "MarketWatch.com - Top Stories"_L1, "https://www.marketwatch.com"_L1,
     "/story/{slug}-{k}"_L1, Format::Rss2, DateStyle::Rfc822Est, -300, Body::Text, false, false, 30, 4,
     {Topic::Markets, Topic::Commodities}},
    {"/rss/RSSMarketsMain.xml"_L1, {}, "WSJ.com: Markets"_L1, "https://www.wsj.com"_L1, "/finance/{slug}-{k}"_L1,
     Format::Rss2, DateStyle::Rfc822Offset, -240, Body::Text, false, false, 25, 3, {Topic::Markets, Topic::Fed}},
    {"/feeds/press_monetary.xml"_L1, {}, "FRB: Press Release - Monetary Policy"_L1, "https://www.federalreserve.gov"_L1,
     "/newsevents/pressreleases/monetary{k}a.htm"_L1, Format::Rss2, DateStyle::Rfc822Gmt, 0, Body::Text, false, false,
     20, 1, {Topic::FedReleases}},
    {"/feeds/speeches_and_testimony.xml"_L1, {}, "FRB: Speeches and Testimony"_L1, "https://www.federalreserve.gov"_L1,
     "/newsevents/speech/speech{k}a.htm"_L1, Format::Rss2, DateStyle::Rfc822NoSeconds, 0, Body::Text, false, false,
     20, 1, {Topic::FedSpeeches}},
    {"/rss/whatsnew.xml"_L1, {}, "Bank of Japan What's New"_L1, "https://www.boj.or.jp"_L1, "/en/release/rel{k}.htm"_L1,
     Format::Rdf, DateStyle::IsoOffset, 540, Body::Text, false, false, 20, 1, {Topic::BojReleases}},
    {"/market_currents.xml"_L1, {}, "Seeking Alpha - Market News"_L1, "https://seekingalpha.com"_L1,
     "/news/{k}-{slug}"_L1, Format::Rss2, DateStyle::Rfc822Offset, -240, Body::Absent, false, false, 40, 5,
     {Topic::Markets, Topic::Pairs, Topic::Commodities}},
    {"/zerohedge/feed"_L1, {}, "ZeroHedge News"_L1, "https://www.zerohedge.com"_L1, "/markets/{slug}-{k}"_L1,
     Format::Atom, DateStyle::IsoOffset, -240, Body::EscapedHtml, true, false, 25, 4,
     {Topic::Shocks, Topic::RiskMood, Topic::Markets}},
    {"/feed/rssoutbound"_L1, {}, "Nasdaq Markets"_L1, "https://www.nasdaq.com"_L1, "/articles/{slug}-{k}"_L1,
     Format::Rss2, DateStyle::Rfc822PaddedDay, 0, Body::Text, false, false, 30, 4, {Topic::Markets, Topic::Pairs}},
    {"/rss/search"_L1, "EURUSD"_L1, "\"EURUSD\" - Google News"_L1, "https://news.google.com"_L1, {}, Format::Rss2,
     DateStyle::Rfc822Gmt, 0, Body::GoogleSnippet, false, false, 100, 4, {Topic::EurUsd}},
};
constexpr int feedCount = int(std::size(profiles));
static_assert(feedCount == 22);

int totalWeight()
{
    int sum = 0;
    for (const FeedProfile &profile : profiles)
        sum += profile.weight;
    return sum;
}

QString offsetText(int minutes, bool withColon)
{
    const int magnitude = std::abs(minutes);
    const QString hours = u"%1"_s.arg(magnitude / 60, 2, 10, QLatin1Char('0'));
    const QString rest = u"%1"_s.arg(magnitude % 60, 2, 10, QLatin1Char('0'));
    return (minutes < 0 ? u"-"_s : u"+"_s) + hours + (withColon ? u":"_s : QString()) + rest;
}

QString formatDate(const QDateTime &utc, const FeedProfile &profile)
{
    const QLocale c = QLocale::c();
    const QDateTime local = utc.toOffsetFromUtc(profile.offsetMinutes * 60);
    switch (profile.dates) {
    case DateStyle::Rfc822Offset:
        return c.toString(local, u"ddd, dd MMM yyyy HH:mm:ss "_s) + offsetText(profile.offsetMinutes, false);
    case DateStyle::Rfc822Gmt:
        return c.toString(local, u"ddd, dd MMM yyyy HH:mm:ss 'GMT'"_s);
    case DateStyle::Rfc822Est:
        return c.toString(local, u"ddd, dd MMM yyyy HH:mm:ss 'EST'"_s);
    case DateStyle::Rfc822PaddedDay: {
        const QString day = u"%1"_s.arg(local.date().day(), 2, 10, QLatin1Char(' '));
        return c.toString(local, u"ddd, "_s) + day + c.toString(local, u" MMM yyyy HH:mm:ss 'GMT'"_s);
    }
    case DateStyle::Rfc822NoSeconds:
        return c.toString(local, u"ddd, dd MMM yyyy HH:mm "_s) + offsetText(profile.offsetMinutes, false);
    case DateStyle::IsoFraction:
        return c.toString(local, u"yyyy-MM-dd'T'HH:mm:ss.zzz'Z'"_s);
    case DateStyle::IsoOffset:
        return c.toString(local, u"yyyy-MM-dd'T'HH:mm:ss"_s) + offsetText(profile.offsetMinutes, true);
    case DateStyle::Plain:
        break;
    }
    return c.toString(local, u"yyyy-MM-dd HH:mm:ss"_s);
}

QString slugOf(const QString &headline)
{
    QString slug;
    for (const QChar c : headline.toLower()) {
        if (c.isLetterOrNumber())
            slug += c;
        else if (!slug.isEmpty() && !slug.endsWith(u'-'))
            slug += u'-';
        if (slug.size() >= 60)
            break;
    }
    while (slug.endsWith(u'-'))
        slug.chop(1);
    return slug;
}

int feedIndex(QLatin1StringView path)
{
    for (int i = 0; i < feedCount; ++i) {
        if (profiles[i].path == path && profiles[i].search.isEmpty())
            return i;
    }
    return 0;
}

// Releases with figures, and decisions and speeches of some weight, make news.
bool reported(const MarketEvent &event)
{
    return event.timing != MarketEvent::Timing::AllDay
           && (event.hasFigures || event.impact == "High"_L1 || event.impact == "Medium"_L1);
}

// A report due in a slot: of a release, or of the market's reaction to it.
struct ReleaseStory
{
    MarketEvent event;
    bool reaction = false;
    int feed = 0;
};

// One item of a feed document.
struct FeedItem
{
    qint64 slot;
    QDateTime published;
    QString title;
    QString link;
    QString summary;
    QString filler{}; // after the summary in the description
};

constexpr int candidatesPerSlot = 8;
constexpr qint64 dayMs = 86'400'000;

} // namespace

// The stream's slots, made on demand and kept while the clock moves on.
// Each slot draws a few candidate stories in order. It publishes its first
// unless an earlier slot within the hour drew the same first title (or, within
// a screen's span, a first story of the same make: template and subject, quote
// or reason). Otherwise it publishes a later candidate that no slot within
// the hour has drawn at that rank or before. A slot's choice thus depends
// only on what its neighbours drew, never on what they chose: no chain runs
// back through the stream, and the stream reads the same however it is
// entered. Two slots within the hour never publish the same title: two firsts
// cannot (the later yields), and a later rank is one nobody near drew as
// early.
class HeadlineSlots
{
public:
    // A slot that drew a story (or motif) at a rank.
    struct Holder
    {
        qint64 slot;
        int rank;
    };

    struct Slot
    {
        int feed = 0;
        QDateTime published;
        QList<Story> candidates;
        QList<size_t> keys;           // of the candidates' titles
        QList<QList<size_t>> motifs;  // of each candidate's motifs
        int chosen = -1; // -2: every candidate taken nearby; the first with its time added (rare)
    };

    explicit HeadlineSlots(const SimulatorOptions &options) : m_options(options), m_prices(options) {}

    QMutex &mutex() { return m_mutex; }

    double slotMs() const { return 60'000.0 / std::max(m_options.newsPerMinute, 0.001); }
    // Slots within an hour of each other.
    qint64 window() const { return std::min<qint64>(qint64(std::ceil(3'600'000.0 / slotMs())) + 1, 720); }
    // Slots that share a screen: twelve minutes.
    qint64 screen() const { return std::min<qint64>(qint64(std::ceil(720'000.0 / slotMs())) + 1, 144); }

    int feedOf(qint64 k)
    {
        if (const ReleaseStory *release = releaseAt(k))
            return release->feed;
        Rng rng = slotRng(k);
        return drawFeed(rng);
    }

    // Without making the slot. Reports of releases come on the grid, the
    // rest up to 90% of a slot early, so that times do not all fall on it;
    // either way a slot is published after the one before it.
    QDateTime publishedAt(qint64 k)
    {
        const qint64 nominal = qint64(double(k) * slotMs());
        if (releaseAt(k))
            return QDateTime::fromMSecsSinceEpoch(nominal, QTimeZone::utc());
        Rng rng = slotRng(k);
        drawFeed(rng);
        return QDateTime::fromMSecsSinceEpoch(nominal - qint64(rng.unit() * 0.9 * slotMs()), QTimeZone::utc());
    }

    // Makes every slot in [from, to] that is not made yet.
    void make(qint64 from, qint64 to)
    {
        // Kept while contiguous and within bounds; a jump or a long run starts afresh.
        if (m_made) {
            const qint64 added = std::max<qint64>(0, m_lo - from) + std::max<qint64>(0, to - m_hi);
            if (from < m_lo - 4 * window() || to > m_hi + 4 * window()
                || m_slots.size() + added > std::max<qint64>(40'000, to - from + 1))
                forget();
        }
        if (!m_made) {
            m_lo = from;
            m_hi = from - 1;
            m_made = true;
        }
        for (qint64 k = from; k < m_lo; ++k)
            add(k);
        for (qint64 k = std::max(m_hi + 1, from); k <= to; ++k)
            add(k);
        m_lo = std::min(m_lo, from);
        m_hi = std::max(m_hi, to);
    }

    // The slot with its story chosen; its neighbours must be made.
    const Slot &resolved(qint64 k)
    {
        make(k - window(), k + window());
        Slot &slot = m_slots[k];
        if (slot.chosen != -1)
            return slot;
        const auto clear = [&](const QHash<size_t, QList<Holder>> &index, size_t key, qint64 distance, int rank,
                               bool earlierOnly) {
            const QList<Holder> holders = index.value(key);
            return std::none_of(holders.cbegin(), holders.cend(), [&](const Holder &holder) {
                return holder.slot != k && std::abs(holder.slot - k) <= distance && holder.rank <= rank
                       && (!earlierOnly || holder.slot < k);
            });
        };
        const auto plain = [&](int rank, bool earlierOnly) {
            const QList<size_t> &motifs = slot.motifs[rank];
            return std::all_of(motifs.cbegin(), motifs.cend(),
                               [&](size_t key) { return clear(m_motifIndex, key, screen(), 0, earlierOnly); });
        };
        slot.chosen = -2;
        if (clear(m_index, slot.keys[0], window(), 0, true) && plain(0, true)) {
            slot.chosen = 0;
            return slot;
        }
        int fallback = -2;
        for (int rank = 1; rank < slot.keys.size() && slot.chosen == -2; ++rank) {
            if (!clear(m_index, slot.keys[rank], window(), rank, false))
                continue;
            if (plain(rank, false))
                slot.chosen = rank;
            else if (fallback == -2)
                fallback = rank;
        }
        if (slot.chosen == -2)
            slot.chosen = fallback;
        if (slot.chosen == -2)
            chooseBeyond(k, slot);
        return slot;
    }

    static Story chosenStory(const Slot &slot)
    {
        if (slot.chosen >= 0)
            return slot.candidates[slot.chosen];
        Story story = slot.candidates.value(0);
        story.title += QLocale::c().toString(slot.published, u" '('HH:mm 'GMT)'"_s);
        return story;
    }

private:
    Rng slotRng(qint64 slot) const { return Rng(m_options.seed ^ (quint64(slot) * 0xD1B54A32D192ED03ull)); }

    // The feed a slot of the stream belongs to, by the feeds' shares.
    static int drawFeed(Rng &rng)
    {
        static const int total = totalWeight();
        int draw = rng.below(total);
        for (int i = 0; i < feedCount; ++i) {
            draw -= profiles[i].weight;
            if (draw < 0)
                return i;
        }
        return feedCount - 1;
    }

    void forget()
    {
        m_slots.clear();
        m_index.clear();
        m_motifIndex.clear();
        m_made = false;
    }

    void add(qint64 k)
    {
        Slot slot;
        slot.feed = feedOf(k);
        slot.published = publishedAt(k);
        const StoryContext context = contextAt(slot.published);
        for (int rank = 0; rank < candidatesPerSlot; ++rank)
            slot.candidates.append(candidate(k, slot, rank, context));
        for (int rank = 0; rank < slot.candidates.size(); ++rank) {
            const Story &story = slot.candidates[rank];
            slot.keys.append(qHash(story.title));
            m_index[slot.keys.last()].append({k, rank});
            QList<size_t> motifs;
            for (const QString &motif : story.motifs) {
                motifs.append(qHash(motif));
                m_motifIndex[motifs.last()].append({k, rank});
            }
            slot.motifs.append(motifs);
        }
        m_slots.insert(k, std::move(slot));
    }

    // The story a slot draws at `rank`.
    Story candidate(qint64 k, const Slot &slot, int rank, const StoryContext &context)
    {
        if (const ReleaseStory *release = releaseAt(k))
            return storyOfRelease(release->event, release->reaction, rank, slot.published, context);
        const FeedProfile &profile = profiles[slot.feed];
        Rng story(mix(m_options.seed ^ quint64(k) * 0x9E3779B97F4A7C15ULL) + quint64(rank) * 0xD6E8FEB86659FD93ULL);
        const Topic topic = *(profile.topics.begin() + story.below(profile.topics.size()));
        return storyAbout(topic, story, slot.published, context);
    }

    // When every drawn candidate is taken nearby: further draws that nobody
    // near drew at all. Unlike the ranked ones, two such draws could meet, but
    // it takes two rare slots drawing the same story within the hour.
    void chooseBeyond(qint64 k, Slot &slot)
    {
        const StoryContext context = contextAt(slot.published);
        for (int rank = candidatesPerSlot; rank < 3 * candidatesPerSlot; ++rank) {
            Story story = candidate(k, slot, rank, context);
            const QList<Holder> holders = m_index.value(qHash(story.title));
            if (std::none_of(holders.cbegin(), holders.cend(),
                             [&](const Holder &holder) { return std::abs(holder.slot - k) <= window(); })) {
                slot.candidates.append(std::move(story));
                slot.chosen = int(slot.candidates.size()) - 1;
                return;
            }
        }
    }

    // The releases of a UTC day, computed once.
    const QList<MarketEvent> &releasesOn(qint64 day)
    {
        if (const auto found = m_releases.constFind(day); found != m_releases.constEnd())
            return *found;
        if (m_releases.size() > 40)
            m_releases.clear();
        const QDateTime start = QDateTime::fromMSecsSinceEpoch(day * dayMs, QTimeZone::utc());
        return *m_releases.insert(day, MarketEvents::releasedBetween(m_options.seed, start, start.addDays(1)));
    }

    QList<MarketEvent> releasesBetween(const QDateTime &from, const QDateTime &to)
    {
        QList<MarketEvent> result;
        for (qint64 day = from.toMSecsSinceEpoch() / dayMs; day <= to.toMSecsSinceEpoch() / dayMs; ++day) {
            for (const MarketEvent &event : releasesOn(day)) {
                if (from <= event.at && event.at < to)
                    result.append(event);
            }
        }
        return result;
    }

    StoryContext contextAt(const QDateTime &published)
    {
        StoryContext context{m_prices, releasesBetween(published.addSecs(-6 * 3600), published), std::nullopt};
        for (const MarketEvent &event : releasesBetween(published.addSecs(1), published.addSecs(36 * 3600))) {
            if (event.isHigh() && event.timing == MarketEvent::Timing::Timed) {
                context.next = event;
                break;
            }
        }
        return context;
    }

    // Where the reports of a day's releases go: the release a few seconds
    // after it (several at one time one after the other), the reaction to a
    // high-impact one four minutes later.
    const QHash<qint64, ReleaseStory> &reportsOn(qint64 day)
    {
        if (const auto found = m_reports.constFind(day); found != m_reports.constEnd())
            return *found;
        if (m_reports.size() > 40)
            m_reports.clear();
        const QDateTime start = QDateTime::fromMSecsSinceEpoch(day * dayMs, QTimeZone::utc());
        const QList<MarketEvent> events = releasesBetween(start.addSecs(-1800), start.addDays(1));
        QHash<qint64, ReleaseStory> reports;
        const auto place = [&](const QDateTime &at, int offsetSeconds, int order, ReleaseStory story) {
            qint64 slot = qint64(std::ceil(double(at.toMSecsSinceEpoch() + offsetSeconds * 1000) / slotMs())) + order;
            while (reports.contains(slot))
                ++slot;
            reports.insert(slot, std::move(story));
        };
        const auto alternate = [&](const MarketEvent &event, int first, int second) {
            return (mix(m_options.seed ^ quint64(event.at.toSecsSinceEpoch()) ^ qHash(event.title)) & 1) ? first : second;
        };
        int order = 0;
        for (qsizetype i = 0; i < events.size(); ++i) {
            const MarketEvent &event = events[i];
            if (!reported(event))
                continue;
            order = i > 0 && events[i - 1].at == event.at ? order + 1 : 0;
            const bool policy = !event.hasFigures || event.spread == 0;
            const int feed = event.title == "FOMC Statement"_L1 ? feedIndex("/feeds/press_monetary.xml"_L1)
                : policy ? feedIndex("/feed/centralbank/"_L1)
                         : alternate(event, feedIndex("/feed/news/"_L1), feedIndex("/news/feed"_L1));
            place(event.at, 20, order, {event, false, feed});
        }
        QStringList reacted;
        for (const MarketEvent &event : events) {
            const QString group = event.currency + event.at.toString(Qt::ISODate);
            if (!event.isHigh() || event.timing != MarketEvent::Timing::Timed || reacted.contains(group))
                continue;
            const int sameTime = int(std::count_if(reacted.cbegin(), reacted.cend(), [&](const QString &other) {
                return other.endsWith(event.at.toString(Qt::ISODate));
            }));
            reacted.append(group);
            place(event.at, 240, sameTime,
                  {event, true, alternate(event, feedIndex("/news/feed"_L1), feedIndex("/feeds/forex-market-news"_L1))});
        }
        return *m_reports.insert(day, reports);
    }

    const ReleaseStory *releaseAt(qint64 k)
    {
        const qint64 day = qint64(std::floor(double(k) * slotMs() / dayMs));
        const QHash<qint64, ReleaseStory> &reports = reportsOn(day);
        const auto found = reports.constFind(k);
        return found == reports.constEnd() ? nullptr : &*found;
    }

    const SimulatorOptions &m_options;
    PriceQuotes m_prices;
    QMutex m_mutex;
    QHash<qint64, Slot> m_slots;
    QHash<size_t, QList<Holder>> m_index; // a candidate's title -> the slots that drew it
    QHash<size_t, QList<Holder>> m_motifIndex;
    qint64 m_lo = 0;
    qint64 m_hi = -1;
    bool m_made = false;
    QHash<qint64, QList<MarketEvent>> m_releases;
    QHash<qint64, QHash<qint64, ReleaseStory>> m_reports;
};

namespace {

// Sentences a wire service fills its longer teasers with. None holds a
// keyword of the app's score, not even inside a word, so padding changes the
// size of a document and nothing else.
constexpr QLatin1StringView fillers[]{
    "Traders watched the levels seen earlier this week."_L1,
    "Dealers said order flow looked mixed through the morning."_L1,
    "Volumes stayed near their recent average across most desks."_L1,
    "Chart watchers pointed to support and resistance zones from Tuesday."_L1,
    "Participants preferred to wait for clearer signals before adding positions."_L1,
    "Bids and offers remained balanced for most of the session."_L1,
    "Spreads were steady and the tape was quiet into the close."_L1,
    "Several desks noted that positioning stayed light ahead of the weekend."_L1,
    "Analysts at one large shop kept their targets unchanged for now."_L1,
    "Options markets showed little demand for protection at these levels."_L1,
    "Some accounts took profits after the earlier move, others added."_L1,
    "The next sessions should show whether the move has staying power."_L1,
};

// Filler sentences that take `summary` to about `words` words in all, the
// same ones for the same key; each begins with a blank.
QString padding(const QString &summary, int words, quint64 key)
{
    QString text;
    qsizetype count = summary.split(u' ', Qt::SkipEmptyParts).size();
    Rng rng(key);
    while (count < words) {
        const QLatin1StringView sentence = rng.pick(fillers);
        text += u' ' + sentence;
        count += sentence.count(u' ') + 1;
    }
    return text;
}

FeedItem itemFor(const FeedProfile &profile, qint64 slot, const HeadlineSlots::Slot &made, int descriptionWords,
                 quint64 seed)
{
    const Story story = HeadlineSlots::chosenStory(made);
    FeedItem item{slot, made.published, story.title, {}, story.summary,
                  padding(story.summary, descriptionWords, mix(seed ^ quint64(slot)))};
    if (!profile.search.isEmpty()) {
        // Google appends the outlet and links to its own redirect page.
        item.title += u" - "_s + QString(outlets[mix(quint64(slot)) % std::size(outlets)]);
        item.link = u"https://news.google.com/rss/articles/CBMi%1?oc=5"_s.arg(quint64(slot) * 2654435761u, 0, 36);
    } else {
        QString path = profile.linkPath;
        path.replace(u"{date}"_s, made.published.toString(u"yyyy/MM/dd"_s));
        path.replace(u"{slug}"_s, slugOf(story.title));
        path.replace(u"{k}"_s, QString::number(slot));
        item.link = QString(profile.site) + path;
    }
    return item;
}

// ---------------------------------------------------------------------------
// Writing the documents.

void writeBody(QXmlStreamWriter &xml, const QString &element, const FeedProfile &profile, const FeedItem &story)
{
    switch (profile.body) {
    case Body::Absent:
        return;
    case Body::Text:
        xml.writeTextElement(element, story.summary + story.filler);
        return;
    case Body::EscapedHtml:
        xml.writeTextElement(element, u"<p>"_s + story.summary + story.filler + u"</p>"_s);
        return;
    case Body::CData:
        xml.writeStartElement(element);
        xml.writeCDATA(u"<p>"_s + story.summary + story.filler + u"</p>"_s);
        xml.writeEndElement();
        return;
    case Body::GoogleSnippet:
        // The double-escaped &nbsp; reaches readers as text, as it does from Google.
        xml.writeTextElement(element, u"<a href=\"%1\" target=\"_blank\">%2</a>&nbsp;&nbsp;<font color=\"#6f6f6f\">%3</font>"_s
                                          .arg(story.link, story.title.section(u" - "_s, 0, -2),
                                               story.title.section(u" - "_s, -1)));
        return;
    }
}

void writeFullText(QXmlStreamWriter &xml, const QString &element, const FeedItem &story)
{
    xml.writeStartElement(element);
    xml.writeCDATA(u"<p>"_s + story.summary + u"</p><p>More to follow.</p>"_s);
    xml.writeEndElement();
}

void writeRss2(QXmlStreamWriter &xml, const FeedProfile &profile, const QList<FeedItem> &stories,
               const QDateTime &updated)
{
    xml.writeStartElement(u"rss"_s);
    xml.writeAttribute(u"version"_s, u"2.0"_s);
    xml.writeNamespace(u"http://purl.org/rss/1.0/modules/content/"_s, u"content"_s);
    xml.writeNamespace(u"http://purl.org/dc/elements/1.1/"_s, u"dc"_s);
    xml.writeNamespace(u"http://www.w3.org/2005/Atom"_s, u"atom"_s);
    xml.writeStartElement(u"channel"_s);
    xml.writeTextElement(u"title"_s, profile.title);
    xml.writeTextElement(u"link"_s, profile.site);
    xml.writeTextElement(u"description"_s, profile.title);
    xml.writeTextElement(u"language"_s, u"en-us"_s);
    xml.writeTextElement(u"lastBuildDate"_s, formatDate(updated, profile));
    xml.writeEmptyElement(u"atom:link"_s);
    xml.writeAttribute(u"href"_s, QString(profile.site) + profile.path);
    xml.writeAttribute(u"rel"_s, u"self"_s);
    xml.writeAttribute(u"type"_s, u"application/rss+xml"_s);
    for (const FeedItem &story : stories) {
        xml.writeStartElement(u"item"_s);
        xml.writeTextElement(u"title"_s, story.title);
        xml.writeTextElement(u"link"_s, story.link);
        xml.writeStartElement(u"guid"_s);
        xml.writeAttribute(u"isPermaLink"_s, u"false"_s);
        xml.writeCharacters(QString::number(story.slot));
        xml.writeEndElement();
        xml.writeTextElement(u"pubDate"_s, formatDate(story.published, profile));
        if (profile.dcDateToo)
            xml.writeTextElement(u"dc:date"_s, QLocale::c().toString(story.published, u"yyyy-MM-dd'T'HH:mm:ss'Z'"_s));
        writeBody(xml, u"description"_s, profile, story);
        if (profile.contentEncoded)
            writeFullText(xml, u"content:encoded"_s, story);
        xml.writeEndElement();
    }
    xml.writeEndElement();
    xml.writeEndElement();
}

void writeAtom(QXmlStreamWriter &xml, const FeedProfile &profile, const QList<FeedItem> &stories,
               const QDateTime &updated)
{
    xml.writeStartElement(u"feed"_s);
    xml.writeDefaultNamespace(u"http://www.w3.org/2005/Atom"_s);
    xml.writeTextElement(u"title"_s, profile.title);
    xml.writeEmptyElement(u"link"_s);
    xml.writeAttribute(u"href"_s, profile.site);
    xml.writeTextElement(u"updated"_s, formatDate(updated, profile));
    xml.writeTextElement(u"id"_s, QString(profile.site) + profile.path);
    for (const FeedItem &story : stories) {
        xml.writeStartElement(u"entry"_s);
        xml.writeTextElement(u"title"_s, story.title);
        xml.writeEmptyElement(u"link"_s);
        xml.writeAttribute(u"rel"_s, u"alternate"_s);
        xml.writeAttribute(u"type"_s, u"text/html"_s);
        xml.writeAttribute(u"href"_s, story.link);
        xml.writeEmptyElement(u"link"_s);
        xml.writeAttribute(u"rel"_s, u"enclosure"_s);
        xml.writeAttribute(u"type"_s, u"image/jpeg"_s);
        xml.writeAttribute(u"href"_s, story.link + u".jpg"_s);
        xml.writeTextElement(u"id"_s, story.link);
        // Revised a little after first publication; the later date is the one readers keep.
        xml.writeTextElement(u"published"_s, formatDate(story.published.addSecs(-90), profile));
        xml.writeTextElement(u"updated"_s, formatDate(story.published, profile));
        xml.writeStartElement(u"author"_s);
        xml.writeTextElement(u"name"_s, profile.title);
        xml.writeEndElement();
        writeBody(xml, u"summary"_s, profile, story);
        if (profile.contentEncoded)
            writeFullText(xml, u"content"_s, story);
        xml.writeEndElement();
    }
    xml.writeEndElement();
}

void writeRdf(QXmlStreamWriter &xml, const FeedProfile &profile, const QList<FeedItem> &stories)
{
    xml.writeStartElement(u"rdf:RDF"_s);
    xml.writeNamespace(u"http://www.w3.org/1999/02/22-rdf-syntax-ns#"_s, u"rdf"_s);
    xml.writeDefaultNamespace(u"http://purl.org/rss/1.0/"_s);
    xml.writeNamespace(u"http://purl.org/dc/elements/1.1/"_s, u"dc"_s);
    xml.writeStartElement(u"channel"_s);
    xml.writeAttribute(u"rdf:about"_s, QString(profile.site) + profile.path);
    xml.writeTextElement(u"title"_s, profile.title);
    xml.writeTextElement(u"link"_s, QString(profile.site) + u"/en/"_s);
    xml.writeTextElement(u"description"_s, profile.title);
    xml.writeStartElement(u"items"_s);
    xml.writeStartElement(u"rdf:Seq"_s);
    for (const FeedItem &story : stories) {
        xml.writeEmptyElement(u"rdf:li"_s);
        xml.writeAttribute(u"rdf:resource"_s, story.link);
    }
    xml.writeEndElement();
    xml.writeEndElement();
    xml.writeEndElement();
    for (const FeedItem &story : stories) {
        xml.writeStartElement(u"item"_s);
        xml.writeAttribute(u"rdf:about"_s, story.link);
        xml.writeTextElement(u"title"_s, story.title);
        xml.writeTextElement(u"link"_s, story.link);
        writeBody(xml, u"description"_s, profile, story);
        xml.writeTextElement(u"dc:date"_s, formatDate(story.published, profile));
        xml.writeEndElement();
    }
    xml.writeEndElement();
}

QByteArray httpDate(const QDateTime &utc)
{
    return QLocale::c().toString(utc, u"ddd, dd MMM yyyy HH:mm:ss 'GMT'"_s).toLatin1();
}

// Whether a client holding the document with these validators may keep it.
// An If-None-Match decides alone (weakly compared, as for a GET); otherwise
// an If-Modified-Since not older than the last change does. Dates other than
// the one form clients send today are ignored, as is a date that is unreadable.
bool notModified(const QMap<QByteArray, QByteArray> &headers, const QByteArray &etag, const QDateTime &modified)
{
    if (const auto match = headers.constFind("if-none-match"); match != headers.cend()) {
        const auto opaque = [](QByteArray tag) {
            tag = tag.trimmed();
            return tag.startsWith("W/") ? tag.mid(2) : tag;
        };
        const QList<QByteArray> tags = match->split(',');
        return std::any_of(tags.cbegin(), tags.cend(),
                           [&](const QByteArray &tag) { return tag.trimmed() == "*" || opaque(tag) == etag; });
    }
    const auto since = headers.constFind("if-modified-since");
    if (since == headers.cend() || !modified.isValid())
        return false;
    QDateTime date = QLocale::c().toDateTime(QString::fromLatin1(since->trimmed()), u"ddd, dd MMM yyyy HH:mm:ss 'GMT'"_s);
    if (!date.isValid())
        return false;
    date.setTimeZone(QTimeZone::utc());
    // Last-Modified has whole seconds.
    return date.toSecsSinceEpoch() >= modified.toSecsSinceEpoch();
}

QByteArray contentType(Format format)
{
    switch (format) {
    case Format::Rss2: return "application/rss+xml; charset=UTF-8";
    case Format::Atom: return "application/atom+xml; charset=UTF-8";
    case Format::Rdf: break;
    }
    return "application/rdf+xml; charset=UTF-8";
}

} // namespace

NewsFeeds::NewsFeeds(const SimulatorOptions &options)
    : m_options(options), m_slots(std::make_unique<HeadlineSlots>(options))
{
}

NewsFeeds::~NewsFeeds() = default;

void NewsFeeds::install(LoopbackServer &server)
{
    QStringList paths;
    for (const FeedProfile &profile : profiles) {
        if (!paths.contains(profile.path))
            paths.append(profile.path);
    }
    for (const QString &path : paths)
        server.route(path, [this](const RecordedRequest &request) {
            return reply(request.path, request.query, request.headers);
        });
}

QStringList NewsFeeds::targets()
{
    QStringList result;
    for (const FeedProfile &profile : profiles) {
        QString target = profile.path;
        if (!profile.search.isEmpty())
            target += u"?q="_s + QString::fromLatin1(QUrl::toPercentEncoding(profile.search))
                    + u"&hl=en-US&gl=US&ceid=US:en"_s;
        else if (profile.path == "/feed/rssoutbound"_L1)
            target += u"?category=Markets"_s;
        result.append(target);
    }
    return result;
}

HttpReply NewsFeeds::reply(const QString &path, const QString &query, const QMap<QByteArray, QByteArray> &headers) const
{
    const QString search = QUrlQuery(query).queryItemValue(u"q"_s, QUrl::FullyDecoded);
    for (int i = 0; i < feedCount; ++i) {
        if (profiles[i].path == path && (profiles[i].search.isEmpty() || profiles[i].search == search))
            return answer(i, headers);
    }
    return {404, "text/plain", "not found"};
}

HttpReply NewsFeeds::answer(int feed, const QMap<QByteArray, QByteArray> &headers) const
{
    const FeedProfile &profile = profiles[feed];
    const QDateTime now = m_options.now().toUTC();
    const int wanted = m_itemsPerFeed > 0 ? m_itemsPerFeed : profile.items;
    // Far enough back to fill the feed on average three times over.
    const qint64 span = qint64(wanted) * totalWeight() / profile.weight * 3;

    QList<FeedItem> stories;
    QDateTime updated;
    QList<std::pair<QByteArray, QByteArray>> validators;
    {
        const QMutexLocker lock(&m_slots->mutex());
        const double slotMs = m_slots->slotMs();
        qint64 current = qint64(std::floor(double(now.toMSecsSinceEpoch()) / slotMs));
        if (m_slots->publishedAt(current + 1) <= now)
            ++current;
        qint64 newest = current;
        while (newest > current - span && m_slots->feedOf(newest) != feed)
            --newest;
        const bool empty = newest == current - span;
        // The document is a function of its newest headline (or, empty, of
        // the present slot) and of how the simulator was set up.
        const quint64 key = mix(m_options.seed ^ mix(quint64(newest) ^ (quint64(feed) << 56) ^ (quint64(empty) << 55))
                                ^ mix((quint64(wanted) << 32) | quint32(m_descriptionWords))
                                ^ std::bit_cast<quint64>(m_options.newsPerMinute));
        validators.emplaceBack("ETag", '"' + QByteArray::number(key, 16).rightJustified(16, '0') + '"');
        if (empty) {
            updated = QDateTime::fromMSecsSinceEpoch(qint64(double(current) * slotMs), QTimeZone::utc());
        } else {
            updated = m_slots->publishedAt(newest);
            validators.emplaceBack("Last-Modified", httpDate(updated));
        }
        if (notModified(headers, validators.first().second, empty ? QDateTime() : updated))
            return {304, {}, {}, validators, true};
        const QMutexLocker renderedLock(&m_renderedMutex);
        if (const auto cached = m_rendered.constFind(feed);
            cached != m_rendered.cend() && cached->etag == validators.first().second)
            return cached->reply;

        QList<qint64> mine;
        for (qint64 slot = newest; !empty && slot > newest - span && mine.size() < wanted; --slot) {
            if (m_slots->feedOf(slot) == feed)
                mine.append(slot);
        }
        if (!mine.isEmpty())
            m_slots->make(mine.last() - m_slots->window(), mine.first() + m_slots->window());
        for (const qint64 slot : std::as_const(mine))
            stories.append(itemFor(profile, slot, m_slots->resolved(slot), m_descriptionWords, m_options.seed));
    }

    QByteArray body;
    QXmlStreamWriter xml(&body);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    switch (profile.format) {
    case Format::Rss2: writeRss2(xml, profile, stories, updated); break;
    case Format::Atom: writeAtom(xml, profile, stories, updated); break;
    case Format::Rdf: writeRdf(xml, profile, stories); break;
    }
    xml.writeEndDocument();
    HttpReply reply{200, contentType(profile.format), body, validators, true};
    const QMutexLocker lock(&m_renderedMutex);
    m_rendered.insert(feed, {validators.first().second, reply});
    return reply;
}

QDateTime NewsFeeds::nextPublication(const QDateTime &after) const
{
    const QMutexLocker lock(&m_slots->mutex());
    // Slot k comes out after (k - 1) slot lengths, so one of the next three is it.
    qint64 slot = qint64(std::floor(double(after.toMSecsSinceEpoch()) / m_slots->slotMs()));
    QDateTime published = m_slots->publishedAt(slot);
    while (!(after < published))
        published = m_slots->publishedAt(++slot);
    return published;
}

QList<FeedHeadline> NewsFeeds::headlines(const QDateTime &from, const QDateTime &to) const
{
    const QStringList names = targets();
    QList<FeedHeadline> result;
    const QMutexLocker lock(&m_slots->mutex());
    const double slotMs = m_slots->slotMs();
    const qint64 first = qint64(std::floor(double(from.toMSecsSinceEpoch()) / slotMs));
    const qint64 last = qint64(std::floor(double(to.toMSecsSinceEpoch()) / slotMs)) + 1;
    m_slots->make(first - m_slots->window(), last + m_slots->window());
    for (qint64 slot = first; slot <= last; ++slot) {
        const HeadlineSlots::Slot &made = m_slots->resolved(slot);
        if (made.published < from || !(made.published < to))
            continue;
        const FeedItem item = itemFor(profiles[made.feed], slot, made, m_descriptionWords, m_options.seed);
        result.append({item.published, names[made.feed], item.title, HeadlineSlots::chosenStory(made).title,
                       item.summary, item.link});
    }
    return result;
}

} // namespace kalvo::sim

