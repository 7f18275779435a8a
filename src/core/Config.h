#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <optional>

namespace kalvo {

// Every user-adjustable setting. A default-constructed Config is the
// configuration of a first start.
struct Config
{
    QString claudeApiKey;  // scoring of new headlines runs only while this is set
    QString claudeFastModel = QStringLiteral("claude-3-5-haiku-20241022");
    QString claudeDetailModel = QStringLiteral("claude-3-5-sonnet-20241022");
    QString openaiApiKey;
    QString openaiTTSModel = QStringLiteral("gpt-4o-mini-tts");
    QString openaiTTSVoice = QStringLiteral("shimmer");
    qint64 newsRefreshSeconds = 10;
    qint64 newsMaxAgeHours = 24;
    QStringList marketPairs{QStringLiteral("EUR/USD"), QStringLiteral("GBP/USD"), QStringLiteral("USD/JPY")};
    QStringList marketExtras{QStringLiteral("DXY"), QStringLiteral("XAU/USD")};
    qint64 priceRefreshSeconds = 15;
    double alertMinScore = 7.0;
    QString newsSoundNormal = QStringLiteral("Ping");
    QString newsSoundHighImpact = QStringLiteral("Hero");

    bool operator==(const Config &) const = default;

    QJsonObject toJson() const;
    // Strict: all fourteen keys with their JSON types, or nothing.
    static std::optional<Config> fromJson(const QJsonObject &object);
};

// Where the configuration is looked for and written. All functions here touch
// the file system: call them off the GUI thread.
namespace ConfigFiles {

// The user file, the file shipped beside the application, ./config.json.
QStringList candidates();
QString userPath();

// The first existing candidate decides; a broken one yields the defaults
// without trying the next.
Config load();
Config loadFrom(const QStringList &candidates);

// Writes the user file, creating its folder; the file is readable and
// writable by its owner only, as it may hold the vendor keys. Returns an
// error text on failure (a path or a system message, never a setting).
std::optional<QString> save(const Config &config);

} // namespace ConfigFiles

} // namespace kalvo
