#include "DemoNews.h"

#include <QCryptographicHash>

#include <array>

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

struct Story
{
    const char16_t *title;
    const char16_t *headline; // the model's German headline
    const char16_t *analysis;
    double score;
    const char16_t *urgency;
    const char16_t *category;
    std::array<std::pair<const char16_t *, const char16_t *>, 3> pairs;
};

// Index 1 is the fully analysed story; see completeAnalysis().
const std::array<Story, 10> stories{{
    {u"Fed's Powell: more progress on inflation needed before any cut", u"Powell bremst Zinssenkungshoffnungen",
     u"Der Fed-Chef signalisiert Geduld; der Dollar dürfte gestützt bleiben.", 9.2, u"immediate", u"central_bank",
     {{{u"EUR/USD", u"bearish"}, {u"USD/JPY", u"bullish"}, {u"XAU/USD", u"bearish"}}}},
    {u"ECB's Lagarde: June cut likely if data confirm the outlook", u"EZB stellt Juni-Senkung in Aussicht",
     u"Lagarde bestätigt den Lockerungspfad, der Euro gerät unter Druck.", 8.4, u"hours", u"central_bank",
     {{{u"EUR/USD", u"bearish"}, {u"EUR/GBP", u"bearish"}, {u"EUR/CHF", u"neutral"}}}},
    {u"US non-farm payrolls rise 175K, unemployment ticks up to 3.9%", u"US-Arbeitsmarkt kühlt ab",
     u"Schwächere Jobdaten stützen Zinssenkungswetten und belasten den Dollar.", 7.6, u"immediate", u"economic_data",
     {{{u"EUR/USD", u"bullish"}, {u"GBP/USD", u"bullish"}, {u"USD/JPY", u"bearish"}}}},
    {u"USD/JPY slides below 153.00 on intervention fears", u"Yen erholt sich auf Interventionssorgen",
     u"Tokio warnt erneut vor übermäßigen Bewegungen.", 6.8, u"hours", u"intervention",
     {{{u"USD/JPY", u"bearish"}, {u"EUR/JPY", u"bearish"}, {nullptr, nullptr}}}},
    {u"UK GDP grows 0.6% in Q1, ending technical recession", u"Britische Wirtschaft verlässt Rezession",
     u"Das Pfund profitiert kurzfristig vom überraschend starken Wachstum.", 5.5, u"days", u"economic_data",
     {{{u"GBP/USD", u"bullish"}, {u"EUR/GBP", u"bearish"}, {nullptr, nullptr}}}},
    {u"Gold climbs to $2,340 as Treasury yields retreat", u"Gold steigt mit fallenden Renditen", u"", 4.0, u"days",
     u"commodities", {{{u"XAU/USD", u"bullish"}, {nullptr, nullptr}, {nullptr, nullptr}}}},
    {u"RBA holds cash rate at 4.35%, keeps hawkish tone", u"", u"Die RBA hält still, bleibt aber restriktiv.", 6.1,
     u"hours", u"central_bank", {{{u"AUD/USD", u"neutral"}, {nullptr, nullptr}, {nullptr, nullptr}}}},
    {u"China's exports beat forecasts as demand for chips recovers", u"Chinas Exporte überraschen positiv",
     u"Rohstoffwährungen dürften profitieren.", 5.0, u"week", u"trade",
     {{{u"AUD/USD", u"bullish"}, {u"USD/CNH", u"bearish"}, {nullptr, nullptr}}}},
    {u"Oil rises as OPEC+ extends output cuts into the third quarter", u"OPEC+ verlängert Förderkürzungen",
     u"Höhere Ölpreise stützen den kanadischen Dollar.", 7.1, u"days", u"commodities",
     {{{u"USD/CAD", u"bearish"}, {nullptr, nullptr}, {nullptr, nullptr}}}},
    {u"SNB's Jordan: franc strength remains a concern", u"SNB besorgt über starken Franken",
     u"Die SNB schließt weitere Interventionen nicht aus.", 3.2, u"hours", u"central_bank",
     {{{u"EUR/CHF", u"bullish"}, {u"USD/CHF", u"bullish"}, {nullptr, nullptr}}}},
}};

const std::array<const char16_t *, 6> sources{u"InvestingLive", u"FXStreet", u"Reuters", u"CNBC", u"ForexLive",
                                              u"Bloomberg"};

void completeAnalysis(NewsAnalysis &analysis)
{
    analysis.summary = u"Die EZB bereitet die Märkte auf eine erste Zinssenkung im Juni vor. Lagarde knüpft den "
                       u"Schritt an bestätigende Inflationsdaten; weitere Senkungen bleiben offen."_s;
    analysis.factors = {u"Kerninflation im Euroraum sinkt auf 2,7 %"_s,
                        u"Lohnwachstum verlangsamt sich"_s,
                        u"Zinsdifferenz zu den USA weitet sich aus"_s};
    analysis.risks = {u"Überraschend hohe Inflationsdaten im Mai"_s,
                      u"Fed senkt früher als erwartet"_s};
    analysis.macro = u"Divergierende Geldpolitik zwischen EZB und Fed spricht mittelfristig für einen "
                     u"stärkeren Dollar."_s;
    analysis.watchNext = u"HVPI-Schnellschätzung am Freitag, 11:00 MEZ"_s;
    analysis.strategy = TradeStrategy{u"Short EUR/USD"_s, u"1.0860"_s, u"1.0920"_s, u"1.0760"_s};
}

} // namespace

QList<NewsItem> demoNews(const QDateTime &now, int count)
{
    QList<NewsItem> items;
    items.reserve(count);
    for (int i = 0; i < count; ++i) {
        const Story &story = stories[std::size_t(i) % stories.size()];
        const int round = i / int(stories.size());
        NewsItem item;
        item.id = u"demo-%1"_s.arg(i);
        item.title = QString::fromUtf16(story.title) + (round == 0 ? QString() : u" (%1)"_s.arg(round + 1));
        item.source = QString::fromUtf16(sources[std::size_t(i) % sources.size()]);
        item.url = u"https://news.example.com/fx/%1"_s.arg(i);
        // Minutes apart at first, hours apart further down the list.
        item.published = now.addSecs(-(i < 12 ? 25LL + 170 * i : 3600LL * (i - 10)));
        item.content = item.title + u". Markets reacted across the major pairs as traders reassessed the outlook."_s;
        item.hash = QString::fromLatin1(
            QCryptographicHash::hash((item.title + item.url).toUtf8(), QCryptographicHash::Md5).toHex());
        item.priority = 1 + i % 3;
        // Every fourth item is still unscored or only scored locally.
        if (i % 4 == 3) {
            item.score = i % 8 == 3 ? 0 : 8.0;
            items.append(item);
            continue;
        }
        item.score = story.score;
        NewsAnalysis analysis;
        analysis.score = story.score;
        analysis.urgency = QString::fromUtf16(story.urgency);
        analysis.headline = QString::fromUtf16(story.headline);
        analysis.analysis = QString::fromUtf16(story.analysis);
        analysis.category = QString::fromUtf16(story.category);
        for (const auto &[pair, direction] : story.pairs) {
            if (pair)
                analysis.pairs.insert(QString::fromUtf16(pair), QString::fromUtf16(direction));
        }
        if (i == 1)
            completeAnalysis(analysis);
        item.analysis = analysis;
        items.append(item);
    }
    return items;
}

} // namespace kalvo
