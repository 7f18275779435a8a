#include "Config.h"

#include "JsonFields.h"
#include "Paths.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace kalvo {

QJsonObject Config::toJson() const
{
    return {
        {"claude_api_key"_L1, claudeApiKey},
        {"claude_fast_model"_L1, claudeFastModel},
        {"claude_detail_model"_L1, claudeDetailModel},
        {"openai_api_key"_L1, openaiApiKey},
        {"openai_tts_model"_L1, openaiTTSModel},
        {"openai_tts_voice"_L1, openaiTTSVoice},
        {"news_refresh_seconds"_L1, newsRefreshSeconds},
        {"news_max_age_hours"_L1, newsMaxAgeHours},
        {"market_pairs"_L1, QJsonArray::fromStringList(marketPairs)},
        {"market_extras"_L1, QJsonArray::fromStringList(marketExtras)},
        {"price_refresh_seconds"_L1, priceRefreshSeconds},
        {"alert_min_score"_L1, alertMinScore},
        {"news_sound_normal"_L1, newsSoundNormal},
        {"news_sound_high_impact"_L1, newsSoundHighImpact},
    };
}

std::optional<Config> Config::fromJson(const QJsonObject &o)
{
    auto claudeApiKey = json::text(o, "claude_api_key"_L1);
    auto claudeFastModel = json::text(o, "claude_fast_model"_L1);
    auto claudeDetailModel = json::text(o, "claude_detail_model"_L1);
    auto openaiApiKey = json::text(o, "openai_api_key"_L1);
    auto openaiTTSModel = json::text(o, "openai_tts_model"_L1);
    auto openaiTTSVoice = json::text(o, "openai_tts_voice"_L1);
    auto newsRefreshSeconds = json::integer(o, "news_refresh_seconds"_L1);
    auto newsMaxAgeHours = json::integer(o, "news_max_age_hours"_L1);
    auto marketPairs = json::textList(o, "market_pairs"_L1);
    auto marketExtras = json::textList(o, "market_extras"_L1);
    auto priceRefreshSeconds = json::integer(o, "price_refresh_seconds"_L1);
    auto alertMinScore = json::real(o, "alert_min_score"_L1);
    auto newsSoundNormal = json::text(o, "news_sound_normal"_L1);
    auto newsSoundHighImpact = json::text(o, "news_sound_high_impact"_L1);
    if (!claudeApiKey || !claudeFastModel || !claudeDetailModel || !openaiApiKey || !openaiTTSModel
        || !openaiTTSVoice || !newsRefreshSeconds || !newsMaxAgeHours || !marketPairs || !marketExtras
        || !priceRefreshSeconds || !alertMinScore || !newsSoundNormal || !newsSoundHighImpact)
        return std::nullopt;
    return Config{*claudeApiKey,       *claudeFastModel, *claudeDetailModel, *openaiApiKey,
                  *openaiTTSModel,     *openaiTTSVoice,  *newsRefreshSeconds, *newsMaxAgeHours,
                  *marketPairs,        *marketExtras,    *priceRefreshSeconds, *alertMinScore,
                  *newsSoundNormal,    *newsSoundHighImpact};
}

namespace ConfigFiles {

namespace {

QString shippedPath()
{
    const QString appDir = QCoreApplication::applicationDirPath();
#if defined(Q_OS_MACOS)
    return appDir + "/../Resources/config.json"_L1;
#elif defined(Q_OS_WIN)
    return appDir + "/config.json"_L1;
#else
    return QDir::cleanPath(appDir + "/../share/kalvo/config.json"_L1);
#endif
}

} // namespace

QString userPath()
{
    return dataDirectory() + "/config.json"_L1;
}

QStringList candidates()
{
    QStringList paths;
    if (!dataDirectory().isEmpty())
        paths << userPath();
    paths << shippedPath() << u"./config.json"_s;
    return paths;
}

Config loadFrom(const QStringList &paths)
{
    for (const QString &path : paths) {
        if (!QFileInfo::exists(path))
            continue;
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return Config();
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
        if (error.error != QJsonParseError::NoError || !document.isObject())
            return Config();
        return Config::fromJson(document.object()).value_or(Config());
    }
    return Config();
}

Config load()
{
    return loadFrom(candidates());
}

std::optional<QString> save(const Config &config)
{
    const QString folder = dataDirectory();
    if (!QDir().mkpath(folder))
        return u"Ordner %1 kann nicht angelegt werden"_s.arg(folder);
    QSaveFile file(userPath());
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    // The file may hold the vendor keys: readable by its owner only, also
    // when an older file was more open.
    if (!file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner))
        return file.errorString();
    file.write(QJsonDocument(config.toJson()).toJson(QJsonDocument::Compact));
    if (!file.commit())
        return file.errorString();
    return std::nullopt;
}

} // namespace ConfigFiles

} // namespace kalvo
