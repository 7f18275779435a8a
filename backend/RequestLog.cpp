#include "RequestLog.h"

#include <cstdio>

using namespace Qt::StringLiterals;

namespace kalvo::backend {

QString formatLogLine(const RequestLogEntry &entry)
{
    // Paths come from clients: keep control characters out of the log.
    QString path = entry.path.left(200);
    for (QChar &c : path) {
        if (c.category() == QChar::Other_Control)
            c = u'?';
    }
    QString line = u"[Backend] %1 %2 %3 %4 %5ms"_s.arg(entry.at.toUTC().toString(Qt::ISODateWithMs),
                                                        QString::fromLatin1(entry.method), path,
                                                        QString::number(entry.status),
                                                        QString::number(entry.milliseconds, 'f', 1));
    if (!entry.error.isEmpty())
        line += u" ("_s + entry.error + u')';
    return line;
}

void writeLogLine(const QString &line)
{
    std::fputs((line + u'\n').toUtf8().constData(), stdout);
    std::fflush(stdout);
}

} // namespace kalvo::backend
