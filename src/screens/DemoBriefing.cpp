#include "DemoBriefing.h"

using namespace Qt::StringLiterals;

namespace kalvo {

LiveBriefing demoBriefing(bool audio)
{
    LiveBriefing briefing;
    briefing.id = u"demo-briefing"_s;
    briefing.title = u"Euro fest vor Lagarde-Rede"_s;
    briefing.text =
        u"Guten Tag. Der Euro handelt am Nachmittag fest bei eins null acht vier zwei, nachdem die Zahlen zum "
        u"Dienstleistungssektor der Eurozone besser ausgefallen sind als erwartet. Der Dollar bleibt dagegen "
        u"unter Druck, weil die Märkte nach schwächeren Arbeitsmarktdaten wieder mit einer Zinssenkung der "
        u"Fed im Juni rechnen. Das Pfund folgt dem Euro nur zögerlich, der Yen gibt leicht nach, und Gold "
        u"hält sich knapp unter seinem Rekordhoch. Am wichtigsten bleibt heute EUR/USD: Die Rede von "
        u"Christine Lagarde um vierzehn Uhr dreißig kann den Ausbruch über eins null neun bestätigen oder "
        u"zurückweisen. Danach richtet sich der Blick auf den ISM-Dienstleistungsindex aus den USA. Fällt er "
        u"schwach aus, dürfte der Dollar weiter nachgeben. Bis dahin gilt: Positionen klein halten und die "
        u"Marken bei eins null acht null und eins null neun null im Auge behalten."_s;
    briefing.keyPoints = {u"Euro profitiert von starken Dienstleistungsdaten"_s,
                          u"Dollar schwach: Markt preist Fed-Senkung im Juni ein"_s,
                          u"Gold knapp unter dem Rekordhoch"_s};
    briefing.watchNext = {u"14:30 EUR — Rede von EZB-Präsidentin Lagarde"_s,
                          u"16:00 USD — ISM-Dienstleistungsindex"_s};
    if (audio)
        briefing.audioData = demoBriefingAudio();
    return briefing;
}

QByteArray demoBriefingAudio()
{
    // Header: sync, MPEG-1, Layer III, no CRC; 128 kbit/s, 44.1 kHz, no
    // padding; mono. The all-zero side information and main data decode
    // as silence.
    constexpr int frameBytes = 144 * 128000 / 44100;
    constexpr int frames = 2 * 44100 / 1152;
    QByteArray frame(frameBytes, '\0');
    frame[0] = char(0xFF);
    frame[1] = char(0xFB);
    frame[2] = char(0x90);
    frame[3] = char(0xC0);
    return frame.repeated(frames);
}

MarketOverview demoOverview(bool riskOn)
{
    MarketOverview overview;
    overview.id = riskOn ? u"demo-overview-on"_s : u"demo-overview-off"_s;
    if (riskOn) {
        overview.sentiment = u"risk-on"_s;
        overview.usd = u"bearish"_s;
        overview.eur = u"bullish"_s;
        overview.gbp = u"bullish"_s;
        overview.jpy = u"neutral"_s;
        overview.topPair = u"EUR/USD"_s;
        overview.themes = {u"Fed-Zinssenkung im Juni eingepreist"_s, u"Starke Dienstleistungsdaten der Eurozone"_s,
                           u"Aktienmärkte auf Rekordkurs"_s};
        overview.overview = u"Die Märkte sind in Kauflaune: Schwächere US-Arbeitsmarktdaten stärken die Erwartung "
                            u"einer baldigen Fed-Senkung und drücken den Dollar. Euro und Pfund profitieren, "
                            u"EUR/USD testet den Widerstand bei 1.0900."_s;
    } else {
        overview.sentiment = u"risk-off"_s;
        overview.usd = u"bullish"_s;
        overview.eur = u"bearish"_s;
        overview.gbp = u"neutral"_s;
        overview.jpy = u"bullish"_s;
        overview.topPair = u"USD/JPY"_s;
        overview.themes = {u"Geopolitische Spannungen im Nahen Osten"_s, u"Flucht in sichere Häfen"_s};
        overview.overview = u"Anleger suchen Sicherheit: Dollar und Yen sind gefragt, der Euro gibt nach "
                            u"schwachen Industriedaten nach. Gold steigt, Aktien und Rohstoffwährungen stehen "
                            u"unter Druck."_s;
    }
    return overview;
}

} // namespace kalvo
