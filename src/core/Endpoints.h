#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QUrl>

namespace kalvo {

// Every outside address the application talks to, by key. Defaults are the
// publishers' public endpoints; an endpoints file (JSON object of key to URL)
// overrides single keys, and its "base" re-roots every address that the file
// does not name itself onto one origin, keeping path and query.
class Endpoints
{
public:
    struct Entry
    {
        QString key;
        QString url;
        QString description;
    };

    // All known keys in a stable order, with their default addresses.
    static const QList<Entry> &defaults();

    Endpoints();

    // Reads an endpoints file; problems are described in `problems` and the
    // affected keys keep their defaults. Touches the file system.
    static Endpoints fromFile(const QString &path, QStringList *problems);
    static Endpoints fromJson(const QByteArray &json, QStringList *problems);

    QString url(const QString &key) const;

    // Keys of the 22 news feeds, in feed-table order.
    static QString feedKey(int index);

private:
    QMap<QString, QString> m_urls;
};

} // namespace kalvo
