#include "RSSParser.h"

#include "FeedDates.h"
#include "FeedEncoding.h"
#include "HtmlCharacters.h"
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

bool isAsciiLetter(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

bool isAsciiDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

// Publishers write HTML's named entities into their XML as if it were HTML.
// A name HTML does not know either stays in the text as written rather than
// ending the feed.
class HtmlEntityResolver : public QXmlStreamEntityResolver
{
public:
    QString resolveUndeclaredEntity(const QString &name) override
    {
        if (const char16_t character = htmlNamedCharacter(name))
            return QString(QChar(character));
        // The reader parses the replacement again: "&amp;" keeps the "&" text.
        return u"&amp;"_s + name + u';';
    }
};

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
    // Most text is ASCII, where only the blank is a separator; the category
    // lookup is for the rest.
    if (c.unicode() < 0x80)
        return c.unicode() == u' ';
    switch (c.category()) {
    case QChar::Separator_Space:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

// "script" or "style" when `markup` opens one of the elements whose contents
// are code rather than text.
QLatin1StringView codeElementAt(QStringView markup)
{
    for (const QLatin1StringView name : {"script"_L1, "style"_L1}) {
        if (markup.size() <= name.size() + 1 || !markup.sliced(1).startsWith(name, Qt::CaseInsensitive))
            continue;
        const QChar after = markup[name.size() + 1];
        if (after == u'>' || after == u'/' || after.isSpace())
            return name;
    }
    return {};
}

// Calls `visit` with each run of `text` outside markup and with a blank where
// markup was; `visit` returns false to stop. A tag is "<" ... ">" with at least
// one character between. Comments and script and style elements go with
// their contents, as a browser would not show those either; one that is never
// closed runs to the end, as in a browser. Written as one forward scan rather
// than a regular expression: a backtracking engine needs quadratic time on a
// body full of "<" without any ">".
template<typename Visit>
void forEachTextRun(QStringView text, Visit &&visit)
{
    qsizetype runStart = 0;
    qsizetype from = 0;
    for (;;) {
        const qsizetype open = text.indexOf(u'<', from);
        if (open < 0)
            break;
        const QStringView markup = text.sliced(open);
        qsizetype resume = -1; // after the markup; -1: it runs to the end
        if (markup.startsWith(u"<!--")) {
            const qsizetype close = text.indexOf(u"-->", open + 4);
            if (close >= 0)
                resume = close + 3;
        } else if (const QLatin1StringView code = codeElementAt(markup); !code.isEmpty()) {
            const qsizetype openEnd = text.indexOf(u'>', open + 1);
            if (openEnd < 0)
                break; // no tag can end anywhere after this point
            const qsizetype closeTag = text.indexOf(u"</"_s + code, openEnd + 1, Qt::CaseInsensitive);
            const qsizetype closeEnd = closeTag < 0 ? -1 : text.indexOf(u'>', closeTag + 2);
            if (closeEnd >= 0)
                resume = closeEnd + 1;
        } else {
            const qsizetype close = text.indexOf(u'>', open + 1);
            if (close < 0)
                break;
            if (close == open + 1) { // "<>" is no tag
                from = close;
                continue;
            }
            resume = close + 1;
        }
        if (!visit(text.sliced(runStart, open - runStart)) || !visit(u" ") || resume < 0)
            return;
        runStart = from = resume;
    }
    visit(text.sliced(runStart));
}

QString withoutMarkup(QStringView text)
{
    QString result;
    result.reserve(text.size());
    forEachTextRun(text, [&](QStringView run) {
        result.append(run);
        return true;
    });
    return result;
}

int hexDigitValue(QChar c)
{
    if (isAsciiDigit(c))
        return c.unicode() - u'0';
    if (c >= u'a' && c <= u'f')
        return c.unicode() - u'a' + 10;
    if (c >= u'A' && c <= u'F')
        return c.unicode() - u'A' + 10;
    return -1;
}

// Length of the character reference ("&eacute;", "&#233;", "&#xE9;") at
// `ampersand` and the character it stands for; 0 when there is none.
qsizetype referenceAt(QStringView text, qsizetype ampersand, char32_t *character)
{
    constexpr qsizetype maxDigits = 8;
    constexpr qsizetype maxName = 8;
    qsizetype i = ampersand + 1;
    if (i < text.size() && text[i] == u'#') {
        ++i;
        const bool hex = i < text.size() && (text[i] == u'x' || text[i] == u'X');
        i += hex;
        const qsizetype digitsStart = i;
        char32_t value = 0;
        for (; i < text.size() && i - digitsStart <= maxDigits; ++i) {
            const int digit = hex ? hexDigitValue(text[i]) : (isAsciiDigit(text[i]) ? text[i].unicode() - u'0' : -1);
            if (digit < 0)
                break;
            value = value * (hex ? 16 : 10) + char32_t(digit);
        }
        const qsizetype digits = i - digitsStart;
        if (digits == 0 || digits > maxDigits || i >= text.size() || text[i] != u';')
            return 0;
        if (value == 0 || value > 0x10FFFF || QChar::isSurrogate(value))
            return 0;
        *character = value;
        return i + 1 - ampersand;
    }
    const qsizetype nameStart = i;
    while (i < text.size() && i - nameStart <= maxName && (isAsciiLetter(text[i]) || isAsciiDigit(text[i])))
        ++i;
    if (i >= text.size() || text[i] != u';')
        return 0;
    const char16_t named = htmlNamedCharacter(text.sliced(nameStart, i - nameStart));
    if (named == 0)
        return 0;
    *character = named;
    return i + 1 - ampersand;
}

// One pass: a decoded "&amp;" never starts another reference.
QString withReferencesDecoded(const QString &text)
{
    qsizetype ampersand = text.indexOf(u'&');
    if (ampersand < 0)
        return text;
    QString result;
    result.reserve(text.size());
    qsizetype copied = 0;
    while (ampersand >= 0) {
        char32_t character;
        const qsizetype length = referenceAt(text, ampersand, &character);
        if (length == 0) {
            ampersand = text.indexOf(u'&', ampersand + 1);
            continue;
        }
        result.append(QStringView(text).sliced(copied, ampersand - copied));
        result.append(QStringView(QChar::fromUcs4(character)));
        copied = ampersand + length;
        ampersand = text.indexOf(u'&', copied);
    }
    result.append(QStringView(text).sliced(copied));
    return result;
}

// The C1 controls as Windows-1252 read them: no feed means a control there,
// but Western pages write "&#146;" for ’, which is U+0092.
char32_t withoutC1Control(char32_t c)
{
    return c >= 0x80 && c < 0xA0 ? windows1252Character(uchar(c)) : c;
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
            result.append(QChar(char16_t(withoutC1Control(c.unicode()))));
            inSpace = false;
        }
    }
    return result;
}

// Whether clean() would leave anything of `markup`, found without building
// the text: it stops at the first visible character, usually the first few.
bool hasVisibleText(QStringView markup)
{
    bool visible = false;
    forEachTextRun(markup, [&](QStringView run) {
        for (qsizetype i = 0; i < run.size(); ++i) {
            char32_t character = run[i].unicode();
            if (character == u'&') {
                if (const qsizetype length = referenceAt(run, i, &character))
                    i += length - 1;
            }
            if (!QChar::isSpace(withoutC1Control(character))) {
                visible = true;
                return false;
            }
        }
        return true;
    });
    return visible;
}

// What the reader reports of the inside of an xhtml title or description,
// written back as markup that clean() reads: element names without their
// prefix or attributes, text escaped.
void appendTag(QString &markup, QStringView qualifiedName, bool closing)
{
    markup.append(closing ? u"</" : u"<");
    markup.append(qualifiedName.sliced(qualifiedName.lastIndexOf(u':') + 1));
    markup.append(u'>');
}

void appendEscaped(QString &markup, QStringView text)
{
    for (const QChar c : text) {
        if (c == u'&')
            markup.append(u"&amp;");
        else if (c == u'<')
            markup.append(u"&lt;");
        else
            markup.append(c);
    }
}

bool isXhtml(const QXmlStreamAttributes &attributes)
{
    return is(attributes.value("type"_L1), "xhtml"_L1);
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

const QTimeZone &localZone()
{
    static const QTimeZone zone = QTimeZone::systemTimeZone();
    return zone;
}

const QTimeZone &utcZone()
{
    static const QTimeZone zone = QTimeZone::utc();
    return zone;
}

// 2024-05-03T14:20Z or 2024-05-03T14:20+02:00: a zone right after the
// minutes. No other form can read such a text.
bool isIsoWithoutSeconds(QStringView text)
{
    return text.size() >= 17 && text[4] == u'-' && text[7] == u'-' && text[10] == u'T' && text[13] == u':'
        && (text[16] == u'Z' || text[16] == u'+' || text[16] == u'-');
}

// Where the year of an RFC 822 date ("Thu, 07 Dec 17 10:00:00 GMT") stands
// when it has two digits, else -1. The four-digit patterns read those as
// years of the first century.
qsizetype twoDigitYearAt(QStringView text)
{
    qsizetype i = 0;
    const auto skip = [&](auto accept) {
        const qsizetype start = i;
        while (i < text.size() && accept(text[i]))
            ++i;
        return i - start;
    };
    if (skip(isAsciiLetter) > 0) { // the weekday
        if (i >= text.size() || text[i] != u',')
            return -1;
        ++i;
        skip([](QChar c) { return c == u' '; });
    }
    const qsizetype dayDigits = skip(isAsciiDigit);
    if (dayDigits < 1 || dayDigits > 2 || i >= text.size() || text[i++] != u' ')
        return -1;
    if (skip(isAsciiLetter) != 3 || i >= text.size() || text[i++] != u' ')
        return -1;
    const qsizetype year = i;
    if (skip(isAsciiDigit) != 2 || i >= text.size() || text[i] != u' ')
        return -1;
    return year;
}

// RFC 822's dates as the patterns read them: two-digit years with RFC 2822's
// century (00-49 are 20xx, 50-99 19xx), the single-letter military zones as
// +0000, because RFC 822 got their signs wrong and RFC 2822 declares them
// unknown. "Z" and the names GMT, UT, EST ... PDT need no help.
void spellOutObsoleteParts(QString &text)
{
    if (const qsizetype year = twoDigitYearAt(text); year >= 0)
        text.insert(year, QStringView(text[year] < u'5' ? u"20" : u"19"));
    const qsizetype size = text.size();
    if (size >= 3 && text[size - 2] == u' ' && isAsciiDigit(text[size - 3]) && text[size - 1] >= u'A'
        && text[size - 1] <= u'Y' && text[size - 1] != u'J')
        text.replace(size - 1, 1, u"+0000"_s);
}

} // namespace

QList<RSSEntry> RSSParser::parse(const QByteArray &body)
{
    RSSParser parser;
    const XmlInput input = xmlInput(body);
    if (input.decoded) {
        QXmlStreamReader xml(input.text);
        parser.read(xml);
    } else {
        QXmlStreamReader xml(input.bytes);
        parser.read(xml);
    }
    return std::move(parser.m_entries);
}

void RSSParser::read(QXmlStreamReader &xml)
{
    HtmlEntityResolver entities;
    xml.setEntityResolver(&entities);
    xml.setNamespaceProcessing(false);
    while (!xml.atEnd()) {
        switch (xml.readNext()) {
        case QXmlStreamReader::StartElement:
            startElement(xml.qualifiedName(), xml.attributes());
            break;
        case QXmlStreamReader::EndElement:
            endElement(xml.qualifiedName());
            break;
        case QXmlStreamReader::Characters:
            characters(xml.text());
            break;
        default:
            break;
        }
    }
    xml.setEntityResolver(nullptr);
}

void RSSParser::startElement(QStringView name, const QXmlStreamAttributes &attributes)
{
    if (m_sourceDepth > 0) {
        ++m_sourceDepth;
        return;
    }
    if (m_xhtmlDepth > 0) {
        ++m_xhtmlDepth;
        appendTag(m_currentText, name, false);
        return;
    }
    m_currentText.resize(0);
    if (isEntry(name)) {
        // Also drops what an unterminated previous item had collected.
        m_inItem = true;
        m_current = {};
        m_linkRank = NoLink;
    }
    if (!m_inItem)
        return;
    if (is(name, "source"_L1))
        m_sourceDepth = 1;
    else if (is(name, "link"_L1) && !attributes.isEmpty())
        takeLink(attributes);
    else if ((is(name, "title"_L1) || isDescriptionLike(name)) && isXhtml(attributes))
        m_xhtmlDepth = 1;
}

void RSSParser::takeLink(const QXmlStreamAttributes &attributes)
{
    // Without href the rel value stands in, so <link rel="alternate"/> yields
    // the link "alternate". Odd, but the link is part of every stored item's
    // hash: reading it differently would bring known items back as new.
    if (attributes.hasAttribute("href"_L1)) {
        const QStringView rel = attributes.value("rel"_L1);
        offerLink(attributes.value("href"_L1), rel.isEmpty() || is(rel, "alternate"_L1) ? AlternateLink : OtherLink);
    } else if (attributes.hasAttribute("rel"_L1)) {
        offerLink(attributes.value("rel"_L1), RelOnlyLink);
    }
}

void RSSParser::offerLink(QStringView link, LinkRank rank)
{
    if (!link.isEmpty() && rank < m_linkRank) {
        m_current.link = link.toString();
        m_linkRank = rank;
    }
}

void RSSParser::characters(QStringView text)
{
    if (m_sourceDepth > 0)
        return;
    if (m_xhtmlDepth > 0)
        appendEscaped(m_currentText, text);
    else
        m_currentText.append(text);
}

void RSSParser::endElement(QStringView name)
{
    if (m_sourceDepth > 0) {
        --m_sourceDepth;
        return;
    }
    if (m_xhtmlDepth > 1) {
        --m_xhtmlDepth;
        appendTag(m_currentText, name, true);
        return;
    }
    m_xhtmlDepth = 0;

    const QStringView text = QStringView(m_currentText).trimmed();
    if (!m_inItem) {
        // Channel-level titles, links and dates describe the feed, not an item.
    } else if (is(name, "title"_L1)) {
        if (!text.isEmpty())
            m_current.title = clean(text);
    } else if (is(name, "link"_L1)) {
        offerLink(text, AlternateLink);
    } else if (isDescriptionLike(name)) {
        if (m_current.descriptionMarkup.isEmpty() && hasVisibleText(text))
            m_current.descriptionMarkup = text.toString();
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
    return withFoldedSpace(withReferencesDecoded(withoutMarkup(text))).trimmed();
}

std::optional<QDateTime> RSSParser::parseDate(const QString &text)
{
    QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return std::nullopt;
    // Every entry's date is read before the entry is known to be new, and
    // ICU takes 10 to 60 us for one; the shapes most feeds use take a
    // fraction of a microsecond by hand.
    if (auto date = readCommonFeedDate(trimmed, localZone()))
        return date;

    // Every form starts either with a weekday name or with a number, and the
    // strict parser accepts no other start for either: a text that opens with
    // a letter is only tried on the weekday patterns, one that opens with a
    // digit only on the others. Same results, a fraction of the failed attempts.
    const QChar first = trimmed.front();
    const bool letterFirst = isAsciiLetter(first);
    const bool digitFirst = first.isDigit() && first.unicode() < 128;

    if (!letterFirst) {
        if (isIsoWithoutSeconds(trimmed)) {
            static const QString minutes = u"yyyy-MM-dd'T'HH:mmXXXXX"_s;
            return parseWithPattern(trimmed, minutes, utcZone());
        }
        if (auto date = parseInternetDateTimeWithFraction(trimmed))
            return date;
        if (auto date = parseInternetDateTime(trimmed))
            return date;
        // Basic-format times (142000), once without and once with a zone.
        static const QString basicTime = u"yyyy-MM-dd'T'HHmmss"_s;
        static const QString basicTimeWithZone = u"yyyy-MM-dd'T'HHmmssXX"_s;
        if (auto date = parseWithPattern(trimmed, basicTime, utcZone()))
            return date;
        if (auto date = parseWithPattern(trimmed, basicTimeWithZone, utcZone()))
            return date;
    }

    spellOutObsoleteParts(trimmed);
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
