#pragma once

#include <QByteArray>
#include <QString>

namespace kalvo {

// A feed body made ready for QXmlStreamReader. The reader gives up on the
// whole document for a single byte it cannot decode and for an XML
// declaration that is not at the very start; publishers produce both.
struct XmlInput
{
    bool decoded = false; // true: read `text`, whose encoding is settled
    QByteArray bytes;     // else: read these, the reader honours their declaration
    QString text;
};

// Drops byte order marks and white space before the document. A body that
// declares UTF-8 (or starts with its byte order mark) is cut before its first
// malformed sequence, so that the entries before it survive. A body that
// declares no encoding and is not UTF-8 is decoded sequence by sequence:
// well-formed UTF-8 as UTF-8, every other byte as Windows-1252. ISO-8859-1,
// US-ASCII and Windows-1252 labels are all read as Windows-1252, as browsers
// do. UTF-16 bodies and other labels are left to the reader.
XmlInput xmlInput(const QByteArray &body);

} // namespace kalvo
