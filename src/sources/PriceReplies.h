#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

#include <optional>

namespace kalvo {

// Currency code -> units of that currency per US dollar.
using UsdRates = QMap<QString, double>;

// The last price in a chart API answer: chart.result[0].meta's
// "regularMarketPrice" when it is a number above 0, else its "previousClose"
// when that is a number (of any sign). Nothing for any other shape.
std::optional<double> chartPrice(const QByteArray &body);

// The "usd" object of a daily rates file, numeric entries only, codes in
// upper case. Empty when the file has no such object.
UsdRates usdRatesFromFile(const QByteArray &body);

// The "rates" object of a Frankfurter answer; empty unless every entry is a
// number.
UsdRates frankfurterRates(const QByteArray &body);

// The price of an instrument computed from USD rates, for the instruments
// the rate sources can price at all. DXY, CRUDE and US10Y never are.
std::optional<double> priceFromUSDRates(const QString &instrument, const UsdRates &rates);

} // namespace kalvo
