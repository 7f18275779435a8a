#include "DemoQuotes.h"

using namespace Qt::StringLiterals;

namespace kalvo {

QMap<QString, PriceData> demoQuotes(const QDateTime &at)
{
    const auto quote = [&](const QString &pair, double price, double change, double changePct,
                           PriceData::Direction direction) {
        return PriceData{pair, pair, price, change, changePct, direction, at};
    };
    return {
        {u"EUR/USD"_s, quote(u"EUR/USD"_s, 1.08421, 0.00134, 0.1237, PriceData::Direction::Up)},
        {u"GBP/USD"_s, quote(u"GBP/USD"_s, 1.26855, -0.00066, -0.0520, PriceData::Direction::Down)},
        {u"USD/JPY"_s, quote(u"USD/JPY"_s, 151.237, 0.0008, 0.0005, PriceData::Direction::Up)},
    };
}

InstrumentAnalysis demoInstrumentAnalysis()
{
    InstrumentAnalysis a;
    a.verdict = u"bearish"_s;
    a.confidence = 68;
    a.summary = u"Die EZB signalisiert eine Senkung im Juni, während die Fed abwartet. Die Zinsdifferenz spricht "
                u"kurzfristig für einen festeren Dollar; unter 1.0800 öffnet sich Raum bis 1.0720."_s;
    a.entryZone = u"1.0850–1.0865"_s;
    a.stop = u"1.0915"_s;
    a.target1 = u"1.0800"_s;
    a.target2 = u"1.0720"_s;
    a.riskReward = u"1:2.4"_s;
    a.timeframe = u"1–3 Tage"_s;
    a.macroDrivers = {u"Divergenz EZB (Lockerung) gegen Fed (abwartend)"_s,
                      u"Kerninflation im Euroraum fällt schneller als in den USA"_s,
                      u"Schwache Industrieproduktion in Deutschland"_s};
    a.catalysts = {u"HVPI-Schnellschätzung am Freitag"_s, u"US-Arbeitsmarktbericht (NFP)"_s,
                   u"Rede Lagarde am Donnerstag"_s};
    a.risks = {u"Überraschend hohe Eurozonen-Inflation"_s, u"Schwache US-Daten drücken die Renditen"_s};
    a.flowAnalysis = u"Realgeld verkauft Euro-Rallys über 1.0880; Optionsbarrieren bei 1.0800."_s;
    a.positioning = u"Spekulative Netto-Longs im Euro auf Dreimonatshoch — Raum für Glattstellungen."_s;
    a.momentum = u"Tageschart unter dem 50-Tage-Schnitt, RSI 42, fallende Hochs seit zwei Wochen."_s;
    a.bullProb = 20;
    a.bullTrigger = u"HVPI über Erwartung, Lagarde relativiert Juni"_s;
    a.baseProb = 45;
    a.baseTrigger = u"Seitwärts 1.0800–1.0900 bis zu den US-Daten"_s;
    a.bearProb = 35;
    a.bearTrigger = u"Starke NFP, Bruch von 1.0800"_s;
    return a;
}

} // namespace kalvo
