#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

namespace kalvo {

// A price with as many decimals as traders quote the instrument in.
QString formatPrice(double price, const QString &pair);

// The ticker under which the chart API knows an instrument, if any.
std::optional<QString> yahooSymbol(const QString &pair);

// Instruments traded most in each trading session ("london", "new_york",
// "tokyo", "sydney"), busiest first.
const QMap<QString, QStringList> &sessionPairs();

} // namespace kalvo
