#include "BackendToken.h"

#include "core/Paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

constexpr qint64 maxTokenFileSize = 64 * 1024; // a token, not a document

std::optional<QString> nonBlank(const QString &text)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return std::nullopt;
    return trimmed;
}

} // namespace

QString BackendToken::environmentVariable()
{
    return u"KALVO_BACKEND_TOKEN"_s;
}

QString BackendToken::filePath()
{
    const QString folder = dataDirectory();
    return folder.isEmpty() ? QString() : folder + "/backend_token"_L1;
}

std::optional<QString> BackendToken::read()
{
    if (auto fromEnvironment = nonBlank(qEnvironmentVariable("KALVO_BACKEND_TOKEN")))
        return fromEnvironment;
    const QString path = filePath();
    if (path.isEmpty())
        return std::nullopt;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return nonBlank(QString::fromUtf8(file.read(maxTokenFileSize)));
}

std::optional<QString> BackendToken::write(const QString &token)
{
    const QString path = filePath();
    if (path.isEmpty())
        return u"Kein Datenordner bekannt"_s;
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        return u"Datenordner kann nicht angelegt werden: "_s + QFileInfo(path).absolutePath();
    constexpr auto ownerOnly = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate, ownerOnly))
        return file.errorString();
    // A file that already existed keeps its old mode on open; tighten it
    // before the token is written.
    if (!file.setPermissions(ownerOnly))
        return file.errorString();
    const QByteArray bytes = token.trimmed().toUtf8() + '\n';
    if (file.write(bytes) != bytes.size() || !file.flush())
        return file.errorString();
    return std::nullopt;
}

} // namespace kalvo
