#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringView>
#include <QXmlStreamAttributes>

#include <optional>

namespace kalvo {

// One item of a feed as the parser found it.
struct RSSEntry
{
    QString title;       // cleaned; empty until a non-empty title element ends
    QString link;        // as found, not cleaned
    QString description; // cleaned text of the first non-empty description-like element
    std::optional<QDateTime> published; // the last date element decides

    bool operator==(const RSSEntry &) const = default;
};

// Turns the body of one RSS 2.0, RSS 1.0/RDF or Atom feed into entries, in
// document order. It is the event handler of a streaming XML reader and keeps
// just enough state to assemble one entry at a time. Element names are
// compared lower-cased and with their prefix ("dc:date"), because the reader
// runs without namespace processing. One parser per body; not thread-bound.
class RSSParser
{
public:
    // Runs the XML reader over `body` once. A well-formedness error ends the
    // run; entries finished before it are kept.
    static QList<RSSEntry> parse(const QByteArray &body);

    // The reader's events. Text inside CDATA sections never reaches
    // characters(): feeds that wrap a title in CDATA lose that title.
    void startElement(QStringView name, const QXmlStreamAttributes &attributes);
    void characters(QStringView text);
    void endElement(QStringView name);

    const QList<RSSEntry> &entries() const { return m_entries; }

    // Removes HTML tags that arrived as escaped text, folds white space runs
    // into one blank and trims the ends.
    static QString clean(QStringView text);

    // The four ISO 8601 forms (zone-less values read as UTC), then fifteen
    // fixed en_US_POSIX patterns in the machine's time zone. The whole text
    // must match. Safe to call from any thread.
    static std::optional<QDateTime> parseDate(const QString &text);

private:
    void takeLink(const QXmlStreamAttributes &attributes);

    QList<RSSEntry> m_entries;
    RSSEntry m_current;
    QString m_currentElement;
    QString m_currentText;
    bool m_inItem = false;
};

} // namespace kalvo
