#pragma once

#include <QByteArray>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QStringView>
#include <QUuid>

#include <compare>
#include <optional>

namespace kalvo {

// The version of this build: the CMake project version, "1.0.0" when the
// build did not say. Needs no service, so any view can show it.
QString currentVersion();
// `built` when it holds a text, "1.0.0" otherwise.
QString versionOrDefault(const QString &built);

// One published version of the app, as a version endpoint announces it.
// Each record gets an identity of its own, so two announcements of the same
// version are still two alerts.
struct AppVersionInfo
{
    Q_GADGET
    Q_PROPERTY(QString id MEMBER id CONSTANT)
    Q_PROPERTY(QString version MEMBER version CONSTANT)
    Q_PROPERTY(QString downloadUrl MEMBER downloadUrl CONSTANT)
    Q_PROPERTY(QString releaseNotes MEMBER releaseNotes CONSTANT)

public:
    QString id = QUuid::createUuid().toString(QUuid::WithoutBraces);
    QString version;
    QString downloadUrl;
    QString releaseNotes;

    friend bool operator==(const AppVersionInfo &, const AppVersionInfo &) = default;
};

// A version number in semantic-version order: MAJOR.MINOR.PATCH, each a
// decimal number without leading zeros, then an optional pre-release
// ("-rc.1", ranking below the release) and optional build metadata ("+abc",
// ignored for the order). A leading "v" is allowed, as tags are often written.
class SemanticVersion
{
public:
    // Absent for anything else: two or four parts, letters, blanks,
    // numbers too large for 64 bits, empty identifiers.
    static std::optional<SemanticVersion> parse(QStringView text);

    friend std::strong_ordering operator<=>(const SemanticVersion &a, const SemanticVersion &b);
    friend bool operator==(const SemanticVersion &a, const SemanticVersion &b)
    {
        return (a <=> b) == std::strong_ordering::equal;
    }

private:
    quint64 m_major = 0;
    quint64 m_minor = 0;
    quint64 m_patch = 0;
    QList<QString> m_preRelease;
};

// The body of a version endpoint: a JSON object with the text "version"
// (blanks around it dropped) and, optionally, "downloadUrl" and
// "releaseNotes". A download address is kept only when it is an http(s)
// address with a host, since the app hands it to the browser; notes of
// blanks alone count as none. Absent when the body is no such object.
std::optional<AppVersionInfo> decodeVersionReply(const QByteArray &body);

} // namespace kalvo

Q_DECLARE_METATYPE(kalvo::AppVersionInfo)
