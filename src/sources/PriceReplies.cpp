#include "PriceReplies.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

QJsonObject rootObject(const QByteArray &body)
{
    return QJsonDocument::fromJson(body).object();
}

std::optional<double> rate(const UsdRates &rates, const QString &code)
{
    const auto it = rates.constFind(code);
    if (it == rates.constEnd())
        return std::nullopt;
    return *it;
}

// Dividing by a rate needs it above 0; a rate only multiplied is taken as it is.
std::optional<double> positiveRate(const UsdRates &rates, const QString &code)
{
    const std::optional<double> value = rate(rates, code);
    if (!value || *value <= 0)
        return std::nullopt;
    return value;
}

std::optional<double> inverse(const UsdRates &rates, const QString &code)
{
    const std::optional<double> value = positiveRate(rates, code);
    if (!value)
        return std::nullopt;
    return 1.0 / *value;
}

// Crosses priced through the dollar where both legs must be usable.
std::optional<double> checkedCross(const UsdRates &rates, const QString &base, const QString &quote)
{
    const std::optional<double> baseRate = positiveRate(rates, base);
    const std::optional<double> quoteRate = positiveRate(rates, quote);
    if (!baseRate || !quoteRate)
        return std::nullopt;
    return (1.0 / *baseRate) * *quoteRate;
}

std::optional<double> anyPair(const UsdRates &rates, const QString &instrument)
{
    const QStringList parts = instrument.split(u'/');
    if (parts.size() != 2)
        return std::nullopt;
    const QString &base = parts[0];
    const QString &quote = parts[1];
    if (quote == "USD"_L1)
        return inverse(rates, base);
    if (base == "USD"_L1)
        return rate(rates, quote);
    const std::optional<double> baseRate = positiveRate(rates, base);
    const std::optional<double> quoteRate = rate(rates, quote);
    if (!baseRate || !quoteRate)
        return std::nullopt;
    return *quoteRate / *baseRate;
}

} // namespace

std::optional<double> chartPrice(const QByteArray &body)
{
    const QJsonValue result = rootObject(body).value("chart"_L1).toObject().value("result"_L1);
    if (!result.isArray())
        return std::nullopt;
    const QJsonArray entries = result.toArray();
    // A result list with anything but objects in it is not a chart answer.
    const bool allObjects = std::all_of(entries.begin(), entries.end(), [](const QJsonValue &v) { return v.isObject(); });
    if (entries.isEmpty() || !allObjects)
        return std::nullopt;
    const QJsonValue meta = entries.first().toObject().value("meta"_L1);
    if (!meta.isObject())
        return std::nullopt;
    const QJsonValue market = meta.toObject().value("regularMarketPrice"_L1);
    if (market.isDouble() && market.toDouble() > 0)
        return market.toDouble();
    const QJsonValue previous = meta.toObject().value("previousClose"_L1);
    if (previous.isDouble())
        return previous.toDouble();
    return std::nullopt;
}

UsdRates usdRatesFromFile(const QByteArray &body)
{
    const QJsonValue usd = rootObject(body).value("usd"_L1);
    UsdRates rates;
    if (!usd.isObject())
        return rates;
    const QJsonObject entries = usd.toObject();
    for (auto it = entries.begin(); it != entries.end(); ++it) {
        if (it.value().isDouble())
            rates.insert(it.key().toUpper(), it.value().toDouble());
    }
    return rates;
}

UsdRates frankfurterRates(const QByteArray &body)
{
    const QJsonValue rates = rootObject(body).value("rates"_L1);
    if (!rates.isObject())
        return {};
    UsdRates result;
    const QJsonObject entries = rates.toObject();
    for (auto it = entries.begin(); it != entries.end(); ++it) {
        if (!it.value().isDouble())
            return {};
        result.insert(it.key(), it.value().toDouble());
    }
    return result;
}

std::optional<double> priceFromUSDRates(const QString &instrument, const UsdRates &rates)
{
    if (rates.isEmpty())
        return std::nullopt;

    static const QHash<QString, QString> dollarBased{
        {u"USD/JPY"_s, u"JPY"_s}, {u"USD/CHF"_s, u"CHF"_s}, {u"USD/CAD"_s, u"CAD"_s},
        {u"USD/MXN"_s, u"MXN"_s},
        // No offshore yuan in the rate files; the onshore rate stands in.
        {u"USD/CNH"_s, u"CNY"_s},
    };
    static const QHash<QString, QString> dollarQuoted{
        {u"EUR/USD"_s, u"EUR"_s}, {u"GBP/USD"_s, u"GBP"_s}, {u"AUD/USD"_s, u"AUD"_s},
        {u"NZD/USD"_s, u"NZD"_s}, {u"XAU/USD"_s, u"XAU"_s},
    };
    static const QHash<QString, std::pair<QString, QString>> crosses{
        {u"EUR/JPY"_s, {u"EUR"_s, u"JPY"_s}}, {u"GBP/JPY"_s, {u"GBP"_s, u"JPY"_s}},
        {u"AUD/JPY"_s, {u"AUD"_s, u"JPY"_s}}, {u"EUR/CHF"_s, {u"EUR"_s, u"CHF"_s}},
        {u"GBP/CHF"_s, {u"GBP"_s, u"CHF"_s}}, {u"EUR/GBP"_s, {u"EUR"_s, u"GBP"_s}},
        {u"EUR/AUD"_s, {u"EUR"_s, u"AUD"_s}}, {u"GBP/AUD"_s, {u"GBP"_s, u"AUD"_s}},
    };

    if (const auto it = dollarBased.constFind(instrument); it != dollarBased.constEnd())
        return rate(rates, *it);
    if (const auto it = dollarQuoted.constFind(instrument); it != dollarQuoted.constEnd())
        return inverse(rates, *it);
    if (const auto it = crosses.constFind(instrument); it != crosses.constEnd())
        return checkedCross(rates, it->first, it->second);
    if (instrument == "DXY"_L1 || instrument == "CRUDE"_L1 || instrument == "US10Y"_L1)
        return std::nullopt;
    return anyPair(rates, instrument);
}

} // namespace kalvo
