#include "RSSParser.h"

#include "core/DatePatterns.h"

#include <QTimeZone>
#include <QXmlStreamReader>

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

bool is(QStringView name, QLatin1StringView wanted)
{
    return name.compare(wanted, Qt::CaseInsensitive) == 0;
}

bool isDescriptionLike(QStringView name)
{
    return is(name, "description"_L1) || is(name, "summary"_L1) || is(name, "content"_L1)
        || is(name, "content:encoded"_L1);
}

bool isDate(QStringView name)
{
    return is(name, "pubdate"_L1) || is(name, "published"_L1) || is(name, "dc:date"_L1) || is(name, "updated"_L1);
}

bool isEntry(QStringView name)
{
    return is(name, "item"_L1) || is(name, "entry"_L1);
}

// White space as ICU's \s sees it: tab, line feed, form feed, carriage
// return and the Unicode separators. Vertical tab and NEL are not folded;
// trimming still removes them at the ends.
bool isPatternSpace(QChar c)
{
    switch (c.unicode()) {
    case u'\t':
    case u'\n':
    case u'\f':
    case u'\r':
        return true;
    default:
        break;
    }
    switch (c.category()) {
    case QChar::Separator_Space:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

// Replaces every "<" ... ">" with at least one character between by a blank.
// Written as one forward scan rather than a regular expression: a backtracking
// engine needs quadratic time on a body full of "<" without any ">".
QString withoutTags(QStringView text)
{
    QString result;
    result.reserve(text.size());
    qsizetype i = 0;
    while (i < text.size()) {
        const qsizetype open = text.indexOf(u'<', i);
        if (open < 0)
            break;
        const qsizetype close = text.indexOf(u'>', open + 1);
        if (close < 0)
            break; // no tag can end anywhere after this point
        if (close == open + 1) { // "<>" is no tag
            result.append(text.sliced(i, close - i));
            i = close;
            continue;
        }
        result.append(text.sliced(i, open - i));
        result.append(u' ');
        i = close + 1;
    }
    result.append(text.sliced(i));
    return result;
}

QString withFoldedSpace(QStringView text)
{
    QString result;
    result.reserve(text.size());
    bool inSpace = false;
    for (const QChar c : text) {
        if (isPatternSpace(c)) {
            if (!inSpace)
                result.append(u' ');
            inSpace = true;
        } else {
            result.append(c);
            inSpace = false;
        }
    }
    return result;
}

// Patterns tried after the ISO forms, first match wins. `Z` reads +0200,
// `z` a zone name such as GMT or EST, `XXXXX` +02:00 or Z.
const QStringList &fixedPatterns()
{
    static const QStringList patterns{
        u"EEE, dd MMM yyyy HH:mm:ss Z"_s,
        u"EEE, dd MMM yyyy HH:mm:ss z"_s,
        u"EEE,  d MMM yyyy HH:mm:ss Z"_s,
        u"EEE,  d MMM yyyy HH:mm:ss z"_s,
        u"dd MMM yyyy HH:mm:ss Z"_s,
        u"dd MMM yyyy HH:mm:ss z"_s,
        u"EEE, dd MMM yyyy HH:mm Z"_s,
        u"EEE, dd MMM yyyy HH:mm z"_s,
        u"yyyy-MM-dd'T'HH:mm:ssZ"_s,
        u"yyyy-MM-dd'T'HH:mm:ss.SSSZ"_s,
        u"yyyy-MM-dd'T'HH:mm:ssXXXXX"_s,
        u"yyyy-MM-dd'T'HH:mm:ss.SSSXXXXX"_s,
        u"yyyy-MM-dd HH:mm:ss Z"_s,
        u"yyyy-MM-dd HH:mm:ss"_s,
        u"yyyy-MM-dd"_s,
    };
    return patterns;
}

bool isAsciiLetter(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

const QTimeZone &localZone()
{
    static const QTimeZone zone = QTimeZone::systemTimeZone();
    return zone;
}

} // namespace

QList<RSSEntry> RSSParser::parse(const QByteArray &body)
{
    QXmlStreamReader xml(body);
    xml.setNamespaceProcessing(false);
    RSSParser parser;
    while (!xml.atEnd()) {
        switch (xml.readNext()) {
        case QXmlStreamReader::StartElement:
            parser.startElement(xml.qualifiedName(), xml.attributes());
            break;
        case QXmlStreamReader::EndElement:
            parser.endElement(xml.qualifiedName());
            break;
        case QXmlStreamReader::Characters:
            if (!xml.isCDATA())
                parser.characters(xml.text());
            break;
        default:
            break;
        }
    }
    return std::move(parser.m_entries);
}

void RSSParser::startElement(QStringView name, const QXmlStreamAttributes &attributes)
{
    m_currentText.resize(0);
    if (isEntry(name)) {
        // Also drops what an unterminated previous item had collected.
        m_inItem = true;
        m_current = {};
    }
    if (is(name, "link"_L1) && !attributes.isEmpty())
        takeLink(attributes);
}

void RSSParser::takeLink(const QXmlStreamAttributes &attributes)
{
    // Without href the rel value stands in, so <link rel="alternate"/> yields
    // the link "alternate". Odd, but the link is part of every stored item's
    // hash: reading it differently would bring known items back as new.
    QStringView value;
    if (attributes.hasAttribute(u"href"_s))
        value = attributes.value(u"href"_s);
    else if (attributes.hasAttribute(u"rel"_s))
        value = attributes.value(u"rel"_s);
    else
        return;
    if (!value.isEmpty() && m_inItem && m_current.link.isEmpty())
        m_current.link = value.toString();
}

void RSSParser::characters(QStringView text)
{
    m_currentText.append(text);
}

void RSSParser::endElement(QStringView name)
{
    const QStringView text = QStringView(m_currentText).trimmed();
    if (!m_inItem) {
        // Channel-level titles, links and dates describe the feed, not an item.
    } else if (is(name, "title"_L1)) {
        if (!text.isEmpty())
            m_current.title = clean(text);
    } else if (is(name, "link"_L1)) {
        if (m_current.link.isEmpty())
            m_current.link = text.toString();
    } else if (isDescriptionLike(name)) {
        if (m_current.description.isEmpty())
            m_current.description = clean(text);
    } else if (isDate(name)) {
        m_current.published = parseDate(text.toString());
    } else if (isEntry(name)) {
        if (!m_current.title.isEmpty())
            m_entries.append(m_current);
        m_inItem = false;
    }
    m_currentText.resize(0);
}

QString RSSParser::clean(QStringView text)
{
    return withFoldedSpace(withoutTags(text)).trimmed();
}

std::optional<QDateTime> RSSParser::parseDate(const QString &text)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return std::nullopt;

    // Every form starts either with a weekday name or with a number, and the
    // strict parser accepts no other start for either: a text that opens with
    // a letter is only tried on the weekday patterns, one that opens with a
    // digit only on the others. Same results, a fraction of the failed attempts.
    const QChar first = trimmed.front();
    const bool letterFirst = isAsciiLetter(first);
    const bool digitFirst = first.isDigit() && first.unicode() < 128;

    if (!letterFirst) {
        if (auto date = parseInternetDateTimeWithFraction(trimmed))
            return date;
        if (auto date = parseInternetDateTime(trimmed))
            return date;
        // Basic-format times (142000), once without and once with a zone.
        static const QString basicTime = u"yyyy-MM-dd'T'HHmmss"_s;
        static const QString basicTimeWithZone = u"yyyy-MM-dd'T'HHmmssXX"_s;
        static const QTimeZone utc = QTimeZone::utc();
        if (auto date = parseWithPattern(trimmed, basicTime, utc))
            return date;
        if (auto date = parseWithPattern(trimmed, basicTimeWithZone, utc))
            return date;
    }

    for (const QString &pattern : fixedPatterns()) {
        const bool weekdayFirst = pattern.startsWith(u'E');
        if ((letterFirst && !weekdayFirst) || (digitFirst && weekdayFirst))
            continue;
        if (auto date = parseWithPattern(trimmed, pattern, localZone()))
            return date;
    }
    return std::nullopt;
}

} // namespace kalvo
