#include "TradingSessions.h"

using namespace Qt::StringLiterals;

namespace kalvo {

TradingSessions TradingSessions::at(const QDateTime &local)
{
    const int offsetHours = local.offsetFromUtc() / 3600; // truncates toward zero
    const int h = ((local.time().hour() - offsetHours) % 24 + 24) % 24;

    TradingSessions result;
    if (h >= 22 || h <= 7)
        result.active << u"sydney"_s;
    if (h <= 8)
        result.active << u"tokyo"_s;
    if (h >= 7 && h <= 16)
        result.active << u"london"_s;
    if (h >= 12 && h <= 21)
        result.active << u"new_york"_s;

    const auto has = [&](const char *key) { return result.active.contains(QLatin1StringView(key)); };
    if (has("london") && has("new_york"))
        result.overlap = u"LONDON / NEW YORK  ★ Höchstes Volumen"_s;
    else if (has("tokyo") && has("london"))
        result.overlap = u"TOKYO / LONDON Überlappung"_s;
    else if (has("sydney") && has("tokyo"))
        result.overlap = u"SYDNEY / TOKYO Überlappung"_s;
    return result;
}

} // namespace kalvo
