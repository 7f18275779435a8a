#pragma once

#include "core/NewsItem.h"

#include <QJsonDocument>
#include <QTest>
#include <QTimeZone>

using namespace Qt::StringLiterals;

namespace kalvo {

inline QByteArray compactJson(const QJsonObject &object) { return QJsonDocument(object).toJson(QJsonDocument::Compact); }

// Found by QCOMPARE through argument-dependent lookup: a mismatch prints the record.
inline char *toString(const NewsAnalysis &analysis) { return qstrdup(compactJson(analysis.toJson()).constData()); }

} // namespace kalvo

namespace test {

inline QDateTime utc(int year, int month, int day, int hour = 0, int minute = 0)
{
    return QDateTime(QDate(year, month, day), QTime(hour, minute), QTimeZone::utc());
}

// `object` with `key` set to `value`, or without `key` when `value` is undefined.
inline QJsonObject with(QJsonObject object, const QString &key, const QJsonValue &value)
{
    value.isUndefined() ? void(object.remove(key)) : void(object.insert(key, value));
    return object;
}

inline kalvo::NewsItem newsItem(int n, const QDateTime &published)
{
    return {u"id-%1"_s.arg(n), u"ECB holds rates #%1"_s.arg(n), u"FXStreet"_s, u"https://fxstreet.com/n/%1"_s.arg(n),
            published, u"Lagarde: „data dependent“ & \"quotes\" %1"_s.arg(n), u"hash-%1"_s.arg(n), 0.5 * n, n % 4, {}};
}

inline QStringList ids(const QList<kalvo::NewsItem> &items)
{
    QStringList result;
    for (const kalvo::NewsItem &item : items)
        result << item.id;
    return result;
}

} // namespace test
