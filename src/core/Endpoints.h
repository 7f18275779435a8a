#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>

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

    // An http(s) address with a host, as every key needs.
    static bool isUsableAddress(const QString &address);

    // "endpoints.json" in the data folder: the endpoints file of a start
    // that names none (--endpoints, KALVO_ENDPOINTS), and the file whose
    // "backend" the settings write.
    static QString userFilePath();
    // `named` when it is not empty, else the data folder's file when it
    // exists, else empty (the built-in addresses). Touches the file system.
    static QString chooseFile(const QString &named);
    // The "backend" address the file at `path` names, empty when it names
    // none or cannot be read. Touches the file system.
    static QString backendIn(const QString &path);
    // Sets "backend" in the file at `path` to `address`, or removes the key
    // for an empty `address`, keeping every other key; creates the file and
    // its folder. The file is left readable and writable by its owner only.
    // A file whose content is not a JSON object is not overwritten. Returns
    // what went wrong, if anything. Touches the file system.
    static std::optional<QString> storeBackend(const QString &path, const QString &address);

    // Keys of the 22 news feeds, in feed-table order.
    static QString feedKey(int index);

private:
    QMap<QString, QString> m_urls;
};

} // namespace kalvo
