#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>

namespace kalvo::backend {

struct ReadPrompt;

// The backend's stand-in for a language model: recognises each prompt of
// the app, reads the headline, source, content, instrument, price and news
// lines back out of it, and answers with exactly the JSON object that prompt
// asks for, built by keyword rules and fixed German phrases. Deterministic:
// the same prompt always gets the same answer. Pure and thread-safe.
namespace OfflineAnalyst {

// The reply text, or nothing for a prompt of no known family.
std::optional<QString> reply(const QString &prompt);

// The JSON answers per family, for callers that have read the prompt.
QJsonObject scoreNews(const ReadPrompt &prompt);
QJsonObject analyseNewsInDepth(const ReadPrompt &prompt);
QJsonObject overviewMarket(const ReadPrompt &prompt);
QJsonObject brief(const ReadPrompt &prompt);
QJsonObject analyseInstrument(const ReadPrompt &prompt);

} // namespace OfflineAnalyst

} // namespace kalvo::backend
