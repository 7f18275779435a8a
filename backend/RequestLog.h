#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <functional>

namespace kalvo::backend {

// One served request as the log shows it. Deliberately without body,
// token, prompt or text: only what an operator needs to see traffic.
struct RequestLogEntry
{
    QDateTime at;
    QByteArray method;
    QString path;
    int status = 0;
    double milliseconds = 0;
    QString error; // the short reason of a failure reply
};

// "[Backend] 2024-05-03T18:00:00.123Z POST /_functions/aiClaude 200 3.4ms"
// with " (reason)" appended for failures.
QString formatLogLine(const RequestLogEntry &entry);

// The default sink: one line to standard output, flushed at once.
void writeLogLine(const QString &line);

} // namespace kalvo::backend
