#include "Trace.h"

Q_LOGGING_CATEGORY(lcTrace, "kalvo.trace", QtInfoMsg)
