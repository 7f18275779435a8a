#pragma once

// What the UI suites build their scenes from, with or without a window.

#include "../TestSupport.h"
#include "core/MarketRecords.h"

#include <QTemporaryDir>

#include <optional>

namespace test {

// The folder every AppState of this executable keeps its files in: a
// temporary one, so no run sees the user's data or another run's.
inline QString useTemporaryDataDir()
{
    static const QTemporaryDir dir;
    qputenv("KALVO_DATA_DIR", dir.path().toUtf8());
    return dir.path();
}

// A headline from FXStreet with text and link, its id doubling as its hash.
inline kalvo::NewsItem headline(const QString &id, const QDateTime &published,
                                std::optional<kalvo::NewsAnalysis> analysis = {})
{
    kalvo::NewsItem item = newsItem(1, published);
    item.id = item.hash = id;
    item.title = u"Title "_s + id;
    item.analysis = std::move(analysis);
    return item;
}

// A quote whose direction follows the sign of its change.
inline kalvo::PriceData quote(const QString &pair, double price, double changePct, const QDateTime &at)
{
    using D = kalvo::PriceData::Direction;
    return {pair, pair, price, 0, changePct, changePct < 0 ? D::Down : changePct > 0 ? D::Up : D::Flat, at};
}

} // namespace test
