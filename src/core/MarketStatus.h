#pragma once

#include <QDateTime>
#include <QString>

namespace kalvo {

// Whether the FX market is open at an instant (Sunday 22:00 UTC to Friday
// 22:00 UTC), the session it is in and how long until it opens or closes.
// Computed entirely in UTC.
struct MarketStatus
{
    enum class StatusColor { Open, Weekend, Low };

    bool isOpen = false;
    QString label;
    QString detail;
    StatusColor color = StatusColor::Open;

    bool operator==(const MarketStatus &) const = default;

    static MarketStatus status(const QDateTime &instant);

    struct Session
    {
        QString code;
        QString label;
    };
    static Session session(int utcHour);
};

} // namespace kalvo
