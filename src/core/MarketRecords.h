#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

namespace kalvo {

// One quote of one instrument. Quotes compare equal when pair and price
// match, so a refresh that only moves the timestamp redraws nothing.
struct PriceData
{
    enum class Direction { Up, Down, Flat };

    QString id;
    QString pair;
    double price = 0;
    double change = 0;
    double changePct = 0;
    Direction direction = Direction::Flat;
    QDateTime timestamp;

    bool operator==(const PriceData &other) const { return pair == other.pair && price == other.price; }

    static QString directionText(Direction direction);
};

// One economic calendar entry; events are the same when their ids match.
struct CalendarEvent
{
    enum class Impact { High, Medium, Low, Holiday, Unknown };

    QString id;
    QString time;        // as delivered: ISO 8601, a date text or an all-day marker
    QString timeDisplay;
    QString currency;
    QString country;
    QString event;
    Impact impact = Impact::Unknown;
    QString forecast;
    QString previous;
    QString actual;

    bool operator==(const CalendarEvent &other) const { return id == other.id; }

    std::optional<QDateTime> parsedDate() const;
    bool isAllDay() const;

    QJsonObject toJson() const;
    // Strict: all ten members as text, "impact" one of the known raw texts.
    static std::optional<CalendarEvent> fromJson(const QJsonObject &object);

    static QString impactText(Impact impact);
    static std::optional<Impact> impactFromText(const QString &text);
};

struct Opportunity
{
    enum class Direction { Long, Short, Neutral };

    QString id;
    QString pair;
    double score = 0;
    Direction direction = Direction::Neutral;
    QStringList reasons;
    bool warning = false;
    qint64 newsCount = 0;
    double baseStrength = 0;
    double quoteStrength = 0;

    static QString directionText(Direction direction);
};

struct ScannerResult
{
    QList<Opportunity> opportunities;
    QMap<QString, double> currencyStrength;
    QStringList sessions;
    QString riskSentiment;
    QDateTime updated;
};

} // namespace kalvo
