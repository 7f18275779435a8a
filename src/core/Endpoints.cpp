#include "Endpoints.h"

#include "Paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

QString rerooted(const QString &address, const QUrl &base)
{
    const QUrl original(address);
    QUrl result = base;
    const QString prefix = base.path().endsWith(u'/') ? base.path().chopped(1) : base.path();
    result.setPath(prefix + original.path(QUrl::FullyEncoded), QUrl::TolerantMode);
    result.setQuery(original.query(QUrl::FullyEncoded), QUrl::TolerantMode);
    return result.toString(QUrl::FullyEncoded);
}

bool isUsable(const QUrl &url)
{
    return url.isValid() && (url.scheme() == "http"_L1 || url.scheme() == "https"_L1) && !url.host().isEmpty();
}

} // namespace

const QList<Endpoints::Entry> &Endpoints::defaults()
{
    static const QList<Entry> entries{
        {u"feed.investinglive"_s, u"https://investinglive.com/feed/news/"_s, u"InvestingLive news"_s},
        {u"feed.investinglive_cb"_s, u"https://investinglive.com/feed/centralbank/"_s, u"InvestingLive central banks"_s},
        {u"feed.fxstreet"_s, u"https://www.fxstreet.com/news/feed"_s, u"FXStreet news"_s},
        {u"feed.dailyfx"_s, u"https://www.dailyfx.com/feeds/forex-market-news"_s, u"DailyFX forex market news"_s},
        {u"feed.actionforex"_s, u"https://www.actionforex.com/feed/"_s, u"ActionForex"_s},
        {u"feed.investing"_s, u"https://www.investing.com/rss/news.rss"_s, u"Investing.com news"_s},
        {u"feed.google_forex"_s, u"https://news.google.com/rss/search?q=forex%20market&hl=en-US&gl=US&ceid=US:en"_s, u"Google News search: forex market"_s},
        {u"feed.google_fed"_s, u"https://news.google.com/rss/search?q=federal%20reserve%20rate%20decision&hl=en-US&gl=US&ceid=US:en"_s, u"Google News search: Fed rate decision"_s},
        {u"feed.google_ecb"_s, u"https://news.google.com/rss/search?q=ecb%20interest%20rate&hl=en-US&gl=US&ceid=US:en"_s, u"Google News search: ECB interest rate"_s},
        {u"feed.cnbc"_s, u"https://www.cnbc.com/id/10000664/device/rss/rss.html"_s, u"CNBC finance"_s},
        {u"feed.nyt_economy"_s, u"https://rss.nytimes.com/services/xml/rss/nyt/Economy.xml"_s, u"The New York Times economy"_s},
        {u"feed.bbc_business"_s, u"https://feeds.bbci.co.uk/news/business/rss.xml"_s, u"BBC business"_s},
        {u"feed.guardian_business"_s, u"https://www.theguardian.com/business/rss"_s, u"The Guardian business"_s},
        {u"feed.marketwatch"_s, u"https://feeds.content.dowjones.io/public/rss/mw_topstories"_s, u"MarketWatch top stories"_s},
        {u"feed.wsj_markets"_s, u"https://feeds.a.dj.com/rss/RSSMarketsMain.xml"_s, u"WSJ markets"_s},
        {u"feed.fed_monetary"_s, u"https://www.federalreserve.gov/feeds/press_monetary.xml"_s, u"Federal Reserve monetary policy releases"_s},
        {u"feed.fed_speeches"_s, u"https://www.federalreserve.gov/feeds/speeches_and_testimony.xml"_s, u"Federal Reserve speeches and testimony"_s},
        {u"feed.boj"_s, u"https://www.boj.or.jp/rss/whatsnew.xml"_s, u"Bank of Japan what's new"_s},
        {u"feed.seeking_alpha"_s, u"https://seekingalpha.com/market_currents.xml"_s, u"Seeking Alpha market currents"_s},
        {u"feed.zerohedge"_s, u"https://feeds.feedburner.com/zerohedge/feed"_s, u"ZeroHedge via FeedBurner"_s},
        {u"feed.nasdaq"_s, u"https://www.nasdaq.com/feed/rssoutbound?category=Markets"_s, u"Nasdaq markets"_s},
        {u"feed.google_eurusd"_s, u"https://news.google.com/rss/search?q=EURUSD&hl=en-US&gl=US&ceid=US:en"_s, u"Google News search: EURUSD"_s},
        {u"price.yahoo_chart"_s, u"https://query1.finance.yahoo.com/v8/finance/chart/"_s, u"Yahoo Finance chart API; the ticker is appended"_s},
        {u"price.usd_rates_cdn"_s, u"https://cdn.jsdelivr.net/npm/@fawazahmed0/currency-api@latest/v1/currencies/usd.json"_s, u"USD rates file on the jsDelivr CDN"_s},
        {u"price.usd_rates_mirror"_s, u"https://latest.currency-api.pages.dev/v1/currencies/usd.json"_s, u"USD rates file on its own mirror"_s},
        {u"price.frankfurter"_s, u"https://api.frankfurter.app/latest?from=USD"_s, u"Frankfurter exchange rates"_s},
        {u"calendar.this_week"_s, u"https://nfs.faireconomy.media/ff_calendar_thisweek.json"_s, u"economic calendar, this week"_s},
        {u"calendar.next_week"_s, u"https://nfs.faireconomy.media/ff_calendar_nextweek.json"_s, u"economic calendar, next week"_s},
        {u"backend"_s, u"http://127.0.0.1:8787/_functions"_s, u"AI backend base address (kalvo-backend)"_s},
        {u"update.primary"_s, u"http://127.0.0.1:8787/_functions/appVersion"_s, u"version endpoint"_s},
        {u"update.secondary"_s, u"http://localhost:8787/_functions/appVersion"_s, u"version endpoint, second host name"_s},
        {u"update.dev"_s, u"http://127.0.0.1:8787/_functions-dev/appVersion"_s, u"development version endpoint"_s},
    };
    return entries;
}

QString Endpoints::feedKey(int index)
{
    return defaults().at(index).key;
}

Endpoints::Endpoints()
{
    for (const Entry &entry : defaults())
        m_urls.insert(entry.key, entry.url);
}

QString Endpoints::url(const QString &key) const
{
    return m_urls.value(key);
}

bool Endpoints::isUsableAddress(const QString &address)
{
    return isUsable(QUrl(address, QUrl::StrictMode));
}

QString Endpoints::userFilePath()
{
    const QString folder = dataDirectory();
    return folder.isEmpty() ? QString() : folder + "/endpoints.json"_L1;
}

QString Endpoints::chooseFile(const QString &named)
{
    if (!named.isEmpty())
        return named;
    const QString own = userFilePath();
    return !own.isEmpty() && QFileInfo(own).isFile() ? own : QString();
}

QString Endpoints::backendIn(const QString &path)
{
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).object().value("backend"_L1).toString();
}

std::optional<QString> Endpoints::storeBackend(const QString &path, const QString &address)
{
    if (path.isEmpty())
        return u"Kein Datenordner bekannt"_s;
    QJsonObject addresses;
    QFile existing(path);
    if (existing.exists()) {
        if (!existing.open(QIODevice::ReadOnly))
            return u"%1: %2"_s.arg(path, existing.errorString());
        const QJsonDocument document = QJsonDocument::fromJson(existing.readAll());
        // Someone's hand-written file with a typo: better untouched than lost.
        if (!document.isObject())
            return u"%1: kein JSON-Objekt, nicht überschrieben"_s.arg(path);
        addresses = document.object();
    }
    if (address.isEmpty())
        addresses.remove("backend"_L1);
    else
        addresses.insert("backend"_L1, address);

    const QString folder = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(folder))
        return u"Ordner %1 kann nicht angelegt werden"_s.arg(folder);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return u"%1: %2"_s.arg(path, file.errorString());
    if (!file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner))
        return u"%1: %2"_s.arg(path, file.errorString());
    file.write(QJsonDocument(addresses).toJson(QJsonDocument::Indented));
    if (!file.commit())
        return u"%1: %2"_s.arg(path, file.errorString());
    return std::nullopt;
}

Endpoints Endpoints::fromFile(const QString &path, QStringList *problems)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        problems->append(u"%1: %2"_s.arg(path, file.errorString()));
        return Endpoints();
    }
    return fromJson(file.readAll(), problems);
}

Endpoints Endpoints::fromJson(const QByteArray &json, QStringList *problems)
{
    Endpoints endpoints;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        problems->append(u"kein JSON-Objekt (%1)"_s.arg(error.errorString()));
        return endpoints;
    }
    const QJsonObject object = document.object();

    const QUrl base(object.value("base"_L1).toString());
    if (object.contains("base"_L1)) {
        if (isUsable(base)) {
            for (auto it = endpoints.m_urls.begin(); it != endpoints.m_urls.end(); ++it)
                it.value() = rerooted(it.value(), base);
        } else {
            problems->append(u"\"base\" ist keine http(s)-Adresse"_s);
        }
    }

    for (auto it = object.begin(); it != object.end(); ++it) {
        if (it.key() == "base"_L1)
            continue;
        if (!endpoints.m_urls.contains(it.key())) {
            problems->append(u"unbekannter Schlüssel \"%1\""_s.arg(it.key()));
            continue;
        }
        const QUrl url(it.value().toString(), QUrl::StrictMode);
        if (!it.value().isString() || !isUsable(url)) {
            problems->append(u"\"%1\" ist keine http(s)-Adresse"_s.arg(it.key()));
            continue;
        }
        endpoints.m_urls.insert(it.key(), it.value().toString());
    }
    return endpoints;
}

} // namespace kalvo
