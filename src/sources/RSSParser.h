#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringView>
#include <QXmlStreamAttributes>

#include <optional>

class QXmlStreamReader;

namespace kalvo {

// One item of a feed as the parser found it.
struct RSSEntry
{
    QString title; // cleaned; empty until a non-empty title element ends
    QString link;  // as found, not cleaned; see RSSParser::startElement for which one
    // The first description-like element that has visible text, still as
    // markup: RSSParser::clean() turns it into text. Left to the caller, so
    // that an entry it already knows costs no cleaning.
    QString descriptionMarkup;
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
    // run; entries finished before it are kept. Before that, the body is made
    // readable (see xmlInput()): encodings publishers get wrong, HTML named
    // entities XML does not know, white space before the declaration.
    static QList<RSSEntry> parse(const QByteArray &body);

    // The reader's events; CDATA sections arrive as characters.
    //
    // Of an entry's links, one without rel or with rel="alternate" wins over
    // self, edit, replies, enclosure and the like, which count only when the
    // entry has no such link; the first of a kind wins. A link with a rel but
    // no href at all yields the rel value, as the last resort: links are part
    // of every stored item's hash, so a feed that keeps its shape must keep
    // its links. An Atom <source> element describes another feed: nothing in
    // it reaches the entry. A title or description with type="xhtml" keeps
    // the text of all its descendants.
    void startElement(QStringView name, const QXmlStreamAttributes &attributes);
    void characters(QStringView text);
    void endElement(QStringView name);

    const QList<RSSEntry> &entries() const { return m_entries; }

    // The text of markup: tags become blanks; comments, scripts and style
    // sheets go with their contents; named and numeric character references
    // are decoded once (feeds escape twice, "&amp;rsquo;"); C1 controls, as
    // "&#146;" gives, read as the Windows-1252 characters they were meant to
    // be; white space runs fold into one blank and the ends are trimmed.
    static QString clean(QStringView text);

    // The ISO 8601 forms (zone-less values read as UTC; minutes without
    // seconds when a zone follows), then fifteen fixed en_US_POSIX patterns
    // in the machine's time zone, which also read RFC 822's two-digit years
    // and military zone letters. The whole text must match. The shapes most
    // feeds use are read by hand first (readCommonFeedDate), to the same
    // results. Safe to call from any thread.
    static std::optional<QDateTime> parseDate(const QString &text);

private:
    enum LinkRank { AlternateLink, OtherLink, RelOnlyLink, NoLink };

    void read(QXmlStreamReader &xml);
    void takeLink(const QXmlStreamAttributes &attributes);
    void offerLink(QStringView link, LinkRank rank);

    QList<RSSEntry> m_entries;
    RSSEntry m_current;
    QString m_currentText;
    bool m_inItem = false;
    LinkRank m_linkRank = NoLink; // of m_current.link
    int m_sourceDepth = 0;        // open elements of an Atom <source>, itself included
    int m_xhtmlDepth = 0;         // open elements of an xhtml title or description, itself included
};

} // namespace kalvo
