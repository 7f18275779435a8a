#include "TextCut.h"

#include <QTextBoundaryFinder>

namespace kalvo {

QString leadingCharacters(const QString &text, qsizetype count)
{
    // A character takes at least one UTF-16 unit, so a short text has no more
    // characters than units and stays whole.
    if (text.size() <= count)
        return text;
    if (count <= 0)
        return {};
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype end = 0;
    for (qsizetype taken = 0; taken < count; ++taken) {
        end = finder.toNextBoundary();
        if (end < 0)
            return text;
    }
    return text.left(end);
}

} // namespace kalvo
