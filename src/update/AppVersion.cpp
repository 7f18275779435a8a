#include "AppVersion.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

#include <limits>

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

bool isDigits(QStringView text)
{
    if (text.isEmpty())
        return false;
    for (QChar c : text) {
        if (c < u'0' || c > u'9')
            return false;
    }
    return true;
}

// A numeric identifier: digits, no leading zero unless it is "0", within 64 bits.
std::optional<quint64> numericIdentifier(QStringView text)
{
    if (!isDigits(text) || (text.size() > 1 && text.front() == u'0'))
        return std::nullopt;
    quint64 value = 0;
    for (QChar c : text) {
        const quint64 digit = quint64(c.unicode() - u'0');
        if (value > (std::numeric_limits<quint64>::max() - digit) / 10)
            return std::nullopt;
        value = value * 10 + digit;
    }
    return value;
}

// Pre-release and build identifiers: ASCII letters, digits and hyphens, never empty.
bool isIdentifier(QStringView text)
{
    if (text.isEmpty())
        return false;
    for (QChar c : text) {
        const bool allowed = (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') ||
                             c == u'-';
        if (!allowed)
            return false;
    }
    return true;
}

bool isIdentifierList(QStringView text)
{
    for (QStringView part : text.split(u'.')) {
        if (!isIdentifier(part))
            return false;
    }
    return true;
}

// Numbers rank below words; numbers by value, words by their ASCII order.
std::strong_ordering comparePreReleaseIdentifiers(const QString &a, const QString &b)
{
    const bool aNumeric = isDigits(a);
    const bool bNumeric = isDigits(b);
    if (aNumeric && bNumeric) {
        // Valid numeric identifiers have no leading zeros: the longer is the larger.
        if (a.size() != b.size())
            return a.size() <=> b.size();
    } else if (aNumeric != bNumeric) {
        return aNumeric ? std::strong_ordering::less : std::strong_ordering::greater;
    }
    const int order = QString::compare(a, b, Qt::CaseSensitive);
    return order <=> 0;
}

QString httpAddressOrEmpty(const QString &text)
{
    const QUrl url(text.trimmed(), QUrl::StrictMode);
    const bool web = url.isValid() && (url.scheme() == "https"_L1 || url.scheme() == "http"_L1) &&
                     !url.host().isEmpty();
    return web ? url.toString() : QString();
}

} // namespace

QString versionOrDefault(const QString &built)
{
    const QString version = built.trimmed();
    return version.isEmpty() ? u"1.0.0"_s : version;
}

QString currentVersion()
{
#ifdef KALVO_VERSION
    return versionOrDefault(QStringLiteral(KALVO_VERSION));
#else
    return versionOrDefault(QString());
#endif
}

std::optional<SemanticVersion> SemanticVersion::parse(QStringView text)
{
    if (text.startsWith(u'v') || text.startsWith(u'V'))
        text = text.mid(1);

    const qsizetype plus = text.indexOf(u'+');
    if (plus >= 0) {
        if (!isIdentifierList(text.mid(plus + 1)))
            return std::nullopt;
        text = text.left(plus);
    }
    SemanticVersion version;
    const qsizetype minus = text.indexOf(u'-');
    if (minus >= 0) {
        const QStringView preRelease = text.mid(minus + 1);
        if (!isIdentifierList(preRelease))
            return std::nullopt;
        for (QStringView part : preRelease.split(u'.')) {
            if (isDigits(part) && !numericIdentifier(part))
                return std::nullopt; // leading zero or beyond 64 bits
            version.m_preRelease.append(part.toString());
        }
        text = text.left(minus);
    }

    const QList<QStringView> core = text.split(u'.');
    if (core.size() != 3)
        return std::nullopt;
    const std::optional<quint64> major = numericIdentifier(core[0]);
    const std::optional<quint64> minor = numericIdentifier(core[1]);
    const std::optional<quint64> patch = numericIdentifier(core[2]);
    if (!major || !minor || !patch)
        return std::nullopt;
    version.m_major = *major;
    version.m_minor = *minor;
    version.m_patch = *patch;
    return version;
}

std::strong_ordering operator<=>(const SemanticVersion &a, const SemanticVersion &b)
{
    if (const auto order = a.m_major <=> b.m_major; order != 0)
        return order;
    if (const auto order = a.m_minor <=> b.m_minor; order != 0)
        return order;
    if (const auto order = a.m_patch <=> b.m_patch; order != 0)
        return order;
    // A pre-release comes before its release.
    if (a.m_preRelease.isEmpty() != b.m_preRelease.isEmpty())
        return a.m_preRelease.isEmpty() ? std::strong_ordering::greater : std::strong_ordering::less;
    const qsizetype common = std::min(a.m_preRelease.size(), b.m_preRelease.size());
    for (qsizetype i = 0; i < common; ++i) {
        if (const auto order = comparePreReleaseIdentifiers(a.m_preRelease[i], b.m_preRelease[i]); order != 0)
            return order;
    }
    return a.m_preRelease.size() <=> b.m_preRelease.size();
}

std::optional<AppVersionInfo> decodeVersionReply(const QByteArray &body)
{
    const QJsonDocument document = QJsonDocument::fromJson(body);
    if (!document.isObject())
        return std::nullopt;
    const QJsonObject object = document.object();
    const QJsonValue version = object.value("version"_L1);
    if (!version.isString() || version.toString().trimmed().isEmpty())
        return std::nullopt;

    AppVersionInfo info;
    info.version = version.toString().trimmed();
    info.downloadUrl = httpAddressOrEmpty(object.value("downloadUrl"_L1).toString());
    const QString notes = object.value("releaseNotes"_L1).toString();
    info.releaseNotes = notes.trimmed().isEmpty() ? QString() : notes;
    return info;
}

} // namespace kalvo
