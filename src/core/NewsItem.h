#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

namespace kalvo {

// A trade idea from the deep analysis. All four fields are required in JSON.
struct TradeStrategy
{
    QString bias;
    QString entry;
    QString stop;
    QString target;

    bool operator==(const TradeStrategy &) const = default;

    QJsonObject toJson() const;
    static std::optional<TradeStrategy> fromJson(const QJsonObject &object);
};

// The deep analysis's view of one instrument. Decoded field by field.
struct PairDetail
{
    QString direction;
    QString reasoning;
    QString movePips;
    qint64 probability = 0;

    bool operator==(const PairDetail &) const = default;

    QJsonObject toJson() const;
    static PairDetail fromJson(const QJsonObject &object);
};

// The model's judgement of one headline. Decoding never fails: a member that
// is missing or of the wrong type keeps its default, so an analysis with no
// information counts as relevant with urgency "hours".
struct NewsAnalysis
{
    bool relevant = true;
    double score = 0;
    QString urgency = QStringLiteral("hours");
    QString headline;
    QString analysis;
    QMap<QString, QString> pairs; // instrument -> "bullish" / "bearish" / "neutral"
    QString category;
    QStringList factors;
    QString summary;
    QString macro;
    QStringList risks;
    QString watchNext;
    std::optional<TradeStrategy> strategy;
    QMap<QString, PairDetail> pairDetails;

    bool operator==(const NewsAnalysis &) const = default;

    QJsonObject toJson() const;
    static NewsAnalysis fromJson(const QJsonObject &object);
};

// One headline from a feed. Items are the same item when their ids match,
// whatever their scores or analyses say.
struct NewsItem
{
    QString id;
    QString title;
    QString source;
    QString url;
    QDateTime published;
    QString content;
    QString hash;
    double score = 0;
    qint64 priority = 0;
    std::optional<NewsAnalysis> analysis;

    bool operator==(const NewsItem &other) const { return id == other.id; }

    QJsonObject toJson() const;
    // Strict: every member but "analysis" must be present with its type.
    static std::optional<NewsItem> fromJson(const QJsonObject &object);
};

// ISO 8601 internet date-time in UTC, whole seconds: 2024-05-03T14:20:00Z.
QString formatIsoUtc(const QDateTime &instant);

} // namespace kalvo
