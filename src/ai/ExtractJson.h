#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>

namespace kalvo {

// The JSON object a model wrote as its whole reply, optionally inside a
// Markdown code fence. Prose before or after the object yields nothing: the
// prompts ask for bare JSON, and guessing at braces would accept half answers.
// Parses JSON: keep it off the GUI thread for replies of unknown size.
std::optional<QJsonObject> extractJSON(const QString &reply);

} // namespace kalvo
