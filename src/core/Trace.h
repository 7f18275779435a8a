#pragma once

#include <QLoggingCategory>

// Timing marks for the whole-process benchmark (bench/whole_process.py): off
// unless QT_LOGGING_RULES="kalvo.trace.debug=true". Each line carries the wall
// clock in milliseconds since the epoch, so another process can line it up
// with its own.
Q_DECLARE_LOGGING_CATEGORY(lcTrace)
