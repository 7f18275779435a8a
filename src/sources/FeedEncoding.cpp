#include "FeedEncoding.h"

#include "HtmlCharacters.h"

#include <QByteArrayView>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace kalvo {

namespace {

constexpr QByteArrayView utf8Bom("\xEF\xBB\xBF");

bool isContinuation(uchar byte)
{
    return (byte & 0xC0) == 0x80;
}

// Length of the well-formed UTF-8 sequence at `i` and the code point it
// encodes, 0 when there is none: no overlong forms, no surrogates, nothing
// above U+10FFFF. Qt's decoder rejects exactly these.
qsizetype sequenceAt(QByteArrayView bytes, qsizetype i, char32_t *codePoint)
{
    const auto at = [&](qsizetype k) { return i + k < bytes.size() ? uchar(bytes[i + k]) : uchar(0); };
    const uchar lead = at(0);
    if (lead < 0x80) {
        *codePoint = lead;
        return 1;
    }
    if (lead >= 0xC2 && lead <= 0xDF) {
        if (!isContinuation(at(1)))
            return 0;
        *codePoint = char32_t(lead & 0x1F) << 6 | (at(1) & 0x3F);
        return 2;
    }
    if (lead >= 0xE0 && lead <= 0xEF) {
        // E0 would be overlong below A0, ED a surrogate from A0 on.
        const uchar low = lead == 0xE0 ? 0xA0 : 0x80;
        const uchar high = lead == 0xED ? 0x9F : 0xBF;
        if (at(1) < low || at(1) > high || !isContinuation(at(2)))
            return 0;
        *codePoint = char32_t(lead & 0x0F) << 12 | char32_t(at(1) & 0x3F) << 6 | (at(2) & 0x3F);
        return 3;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        // F0 would be overlong below 90, F4 beyond U+10FFFF from 90 on.
        const uchar low = lead == 0xF0 ? 0x90 : 0x80;
        const uchar high = lead == 0xF4 ? 0x8F : 0xBF;
        if (at(1) < low || at(1) > high || !isContinuation(at(2)) || !isContinuation(at(3)))
            return 0;
        *codePoint = char32_t(lead & 0x07) << 18 | char32_t(at(1) & 0x3F) << 12 | char32_t(at(2) & 0x3F) << 6
            | (at(3) & 0x3F);
        return 4;
    }
    return 0;
}

// Offset of the first byte that starts no well-formed sequence, -1 if none.
qsizetype firstMalformed(QByteArrayView bytes)
{
    const char *data = bytes.data();
    const qsizetype size = bytes.size();
    qsizetype i = 0;
    while (i < size) {
        // Feeds are mostly ASCII: eight bytes at a time while no high bit is set.
        if (i + 8 <= size) {
            quint64 word;
            std::memcpy(&word, data + i, sizeof word);
            if ((word & 0x8080808080808080ULL) == 0) {
                i += 8;
                continue;
            }
        }
        char32_t ignored;
        const qsizetype length = sequenceAt(bytes, i, &ignored);
        if (length == 0)
            return i;
        i += length;
    }
    return -1;
}

QString utf8OrWindows1252(QByteArrayView bytes)
{
    QString text;
    text.reserve(bytes.size());
    qsizetype i = 0;
    while (i < bytes.size()) {
        char32_t codePoint;
        const qsizetype length = sequenceAt(bytes, i, &codePoint);
        if (length == 0) {
            text.append(QChar(windows1252Character(uchar(bytes[i]))));
            ++i;
        } else {
            text.append(QStringView(QChar::fromUcs4(codePoint)));
            i += length;
        }
    }
    return text;
}

QString windows1252(QByteArrayView bytes)
{
    QString text(bytes.size(), Qt::Uninitialized);
    QChar *out = text.data();
    for (const char byte : bytes)
        *out++ = QChar(windows1252Character(uchar(byte)));
    return text;
}

// The lower-cased encoding label of an XML declaration at the start of
// `document`, empty without a declaration or label.
QByteArray declaredEncoding(QByteArrayView document)
{
    if (!document.startsWith("<?xml"))
        return {};
    const qsizetype end = document.first(std::min<qsizetype>(document.size(), 512)).indexOf("?>");
    if (end < 0)
        return {};
    const QByteArrayView declaration = document.first(end);
    qsizetype i = declaration.indexOf("encoding");
    if (i < 0)
        return {};
    i += 8;
    const auto skipBlanks = [&] {
        while (i < declaration.size() && (declaration[i] == ' ' || declaration[i] == '\t' || declaration[i] == '\r'
                                          || declaration[i] == '\n'))
            ++i;
    };
    skipBlanks();
    if (i >= declaration.size() || declaration[i] != '=')
        return {};
    ++i;
    skipBlanks();
    if (i >= declaration.size() || (declaration[i] != '"' && declaration[i] != '\''))
        return {};
    const qsizetype close = declaration.indexOf(declaration[i], i + 1);
    if (close < 0)
        return {};
    return declaration.sliced(i + 1, close - i - 1).toByteArray().trimmed().toLower();
}

bool isUtf8Label(const QByteArray &label)
{
    return label == "utf-8" || label == "utf8";
}

bool isWesternLabel(const QByteArray &label)
{
    static const QByteArrayView labels[] = {"iso-8859-1", "iso8859-1", "iso_8859-1", "latin1", "latin-1", "l1",
                                            "cp819", "ibm819", "windows-1252", "cp1252", "x-cp1252", "us-ascii",
                                            "ascii"};
    return std::find(std::begin(labels), std::end(labels), QByteArrayView(label)) != std::end(labels);
}

XmlInput fromBytes(const QByteArray &body, qsizetype start, qsizetype length)
{
    // Untouched bodies stay shared rather than copied.
    if (start == 0 && length == body.size())
        return {false, body, {}};
    return {false, body.mid(start, length), {}};
}

XmlInput fromText(QString text)
{
    return {true, {}, std::move(text)};
}

} // namespace

XmlInput xmlInput(const QByteArray &body)
{
    // UTF-16 and UTF-32: a byte order mark or a zero byte among the first two.
    if (body.size() >= 2
        && (body.startsWith("\xFF\xFE") || body.startsWith("\xFE\xFF") || body[0] == '\0' || body[1] == '\0'))
        return {false, body, {}};

    qsizetype start = 0;
    bool byteOrderMark = false;
    for (;;) {
        const QByteArrayView rest = QByteArrayView(body).sliced(start);
        if (rest.startsWith(utf8Bom)) {
            byteOrderMark = true;
            start += utf8Bom.size();
        } else if (!rest.isEmpty() && (rest[0] == ' ' || rest[0] == '\t' || rest[0] == '\r' || rest[0] == '\n')) {
            ++start;
        } else {
            break;
        }
    }
    const QByteArrayView document = QByteArrayView(body).sliced(start);
    const QByteArray label = declaredEncoding(document);

    if (!byteOrderMark && isWesternLabel(label))
        return fromText(windows1252(document));
    if (!byteOrderMark && !label.isEmpty() && !isUtf8Label(label))
        return fromBytes(body, start, document.size());

    const qsizetype malformed = firstMalformed(document);
    if (byteOrderMark || !label.isEmpty()) {
        // Declared UTF-8: what follows a broken sequence cannot be trusted.
        const QByteArrayView valid = malformed < 0 ? document : document.first(malformed);
        if (label.isEmpty() || isUtf8Label(label))
            return fromBytes(body, start, valid.size());
        return fromText(QString::fromUtf8(valid)); // the mark overrides a contrary label
    }
    if (malformed < 0)
        return fromBytes(body, start, document.size());
    return fromText(QString::fromUtf8(document.first(malformed)) + utf8OrWindows1252(document.sliced(malformed)));
}

} // namespace kalvo
