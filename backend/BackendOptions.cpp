#include "BackendOptions.h"

using namespace Qt::StringLiterals;

namespace kalvo::backend {

AppRelease AppRelease::current()
{
    return {QStringLiteral(KALVO_BACKEND_VERSION), QString(), QString()};
}

namespace BackendSetup {

QStringList tokensFromFile(const QByteArray &content)
{
    QStringList tokens;
    for (const QByteArray &rawLine : content.split('\n')) {
        const QString line = QString::fromUtf8(rawLine).trimmed();
        if (line.isEmpty() || line.startsWith(u'#'))
            continue;
        tokens << line;
    }
    return tokens;
}

QStringList tokensFromList(const QString &list)
{
    QStringList tokens;
    for (const QString &part : list.split(u',')) {
        const QString token = part.trimmed();
        if (!token.isEmpty())
            tokens << token;
    }
    return tokens;
}

QMap<QString, QString> keysFromFile(const QByteArray &content)
{
    QMap<QString, QString> keys;
    for (const QByteArray &rawLine : content.split('\n')) {
        QString line = QString::fromUtf8(rawLine).trimmed();
        if (line.isEmpty() || line.startsWith(u'#'))
            continue;
        if (line.startsWith("export "_L1))
            line = line.mid(7).trimmed();
        const qsizetype equals = line.indexOf(u'=');
        if (equals <= 0)
            continue;
        QString value = line.mid(equals + 1).trimmed();
        // systemd and shells both accept quoted values.
        if (value.size() >= 2 && (value.front() == u'"' || value.front() == u'\'') && value.back() == value.front())
            value = value.mid(1, value.size() - 2);
        keys.insert(line.left(equals).trimmed(), value);
    }
    return keys;
}

QString modeName(BackendOptions::Mode mode)
{
    return mode == BackendOptions::Mode::Proxy ? u"proxy"_s : u"offline"_s;
}

} // namespace BackendSetup

} // namespace kalvo::backend
