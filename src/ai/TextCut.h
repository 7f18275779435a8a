#pragma once

#include <QString>

namespace kalvo {

// The first `count` user-perceived characters of `text`. Counting grapheme
// clusters keeps a cut from splitting an accented letter or an emoji, which
// a cut by UTF-16 units would turn into invalid text.
QString leadingCharacters(const QString &text, qsizetype count);

} // namespace kalvo
