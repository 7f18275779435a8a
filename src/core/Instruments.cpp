#include "Instruments.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace kalvo {

QString formatPrice(double price, const QString &pair)
{
    static const QHash<QString, int> threeDecimals{
        {u"USD/JPY"_s, 3}, {u"EUR/JPY"_s, 3}, {u"GBP/JPY"_s, 3}, {u"AUD/JPY"_s, 3}, {u"DXY"_s, 3}};
    if (pair == "XAU/USD"_L1 || pair == "CRUDE"_L1)
        return QString::asprintf("%.2f", price);
    if (threeDecimals.contains(pair))
        return QString::asprintf("%.3f", price);
    if (pair == "US10Y"_L1)
        return QString::asprintf("%.3f%%", price);
    return QString::asprintf("%.5f", price);
}

std::optional<QString> yahooSymbol(const QString &pair)
{
    static const QHash<QString, QString> symbols{
        {u"EUR/USD"_s, u"EURUSD=X"_s}, {u"GBP/USD"_s, u"GBPUSD=X"_s}, {u"USD/JPY"_s, u"USDJPY=X"_s},
        {u"USD/CHF"_s, u"USDCHF=X"_s}, {u"AUD/USD"_s, u"AUDUSD=X"_s}, {u"NZD/USD"_s, u"NZDUSD=X"_s},
        {u"USD/CAD"_s, u"USDCAD=X"_s}, {u"EUR/GBP"_s, u"EURGBP=X"_s}, {u"EUR/JPY"_s, u"EURJPY=X"_s},
        {u"GBP/JPY"_s, u"GBPJPY=X"_s}, {u"USD/MXN"_s, u"USDMXN=X"_s}, {u"USD/CNH"_s, u"USDCNH=X"_s},
        {u"AUD/JPY"_s, u"AUDJPY=X"_s}, {u"EUR/CHF"_s, u"EURCHF=X"_s}, {u"GBP/CHF"_s, u"GBPCHF=X"_s},
        {u"EUR/AUD"_s, u"EURAUD=X"_s}, {u"GBP/AUD"_s, u"GBPAUD=X"_s}, {u"DXY"_s, u"DX-Y.NYB"_s},
        {u"XAU/USD"_s, u"GC=F"_s},     {u"CRUDE"_s, u"CL=F"_s},       {u"US10Y"_s, u"^TNX"_s},
    };
    if (auto it = symbols.constFind(pair); it != symbols.constEnd())
        return *it;
    if (pair.contains(u'=') || pair.contains(u'^') || pair.contains(u'-'))
        return pair;
    if (pair.contains(u'/')) {
        const QStringList parts = pair.split(u'/');
        if (parts.size() == 2)
            return parts[0] + parts[1] + "=X"_L1;
    }
    return std::nullopt;
}

const QMap<QString, QStringList> &sessionPairs()
{
    static const QMap<QString, QStringList> pairs{
        {u"london"_s,
         {u"EUR/USD"_s, u"GBP/USD"_s, u"EUR/GBP"_s, u"EUR/CHF"_s, u"GBP/CHF"_s, u"EUR/JPY"_s, u"GBP/JPY"_s}},
        {u"new_york"_s,
         {u"EUR/USD"_s, u"GBP/USD"_s, u"USD/JPY"_s, u"USD/CAD"_s, u"USD/CHF"_s, u"XAU/USD"_s}},
        {u"tokyo"_s,
         {u"USD/JPY"_s, u"EUR/JPY"_s, u"GBP/JPY"_s, u"AUD/JPY"_s, u"AUD/USD"_s, u"NZD/USD"_s}},
        {u"sydney"_s, {u"AUD/USD"_s, u"NZD/USD"_s, u"AUD/JPY"_s}},
    };
    return pairs;
}

} // namespace kalvo
