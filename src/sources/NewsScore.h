#pragma once

#include <QString>

namespace kalvo {

// How much a headline matters to an FX trader before any model has seen it:
// a whole number from 1 to 10 from the feed's priority and four keyword
// tables. `text` is the title and description, matched in lower case.
// Keywords are plain substrings on purpose ("fed" also hits "federal", "war"
// "award").
double localScore(const QString &text, int priority);

} // namespace kalvo
