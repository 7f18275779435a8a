#pragma once

#include <QNetworkReply>
#include <QString>

#include <optional>
#include <variant>

namespace kalvo {

// Why a model request produced no text. Callers turn every kind into an
// absent result; the kinds exist so that tests and diagnostics can tell a
// missing token from a bad answer from a dead connection.
struct AIBackendError
{
    enum class Kind {
        UserAuthenticationRequired, // no access token, or no usable endpoint address
        BadServerResponse,          // no HTTP answer, or a status other than 200
        CannotParseResponse,        // the body is not {"ok": true, "text": "..."}
        Transport,                  // the HTTP client's own failure: time-out, refused, reset
    };

    Kind kind = Kind::Transport;
    // Filled for Transport only: the client's code and its wording. The
    // wording never holds the token, which travels in the request body.
    QNetworkReply::NetworkError networkError = QNetworkReply::NoError;
    QString description;

    bool operator==(const AIBackendError &) const = default;
};

// The outcome of one model request: the reply text, or why there is none.
class ModelReply
{
public:
    // A request that never completed counts as a transport failure.
    ModelReply() : m_value(AIBackendError{}) {}
    static ModelReply success(QString text) { return ModelReply(std::move(text)); }
    static ModelReply failure(AIBackendError error) { return ModelReply(std::move(error)); }
    static ModelReply failure(AIBackendError::Kind kind) { return ModelReply(AIBackendError{kind, {}, {}}); }

    bool isSuccess() const { return std::holds_alternative<QString>(m_value); }
    // The model's text, unchanged; empty after a failure.
    QString text() const { return isSuccess() ? std::get<QString>(m_value) : QString(); }
    std::optional<AIBackendError> error() const
    {
        return isSuccess() ? std::nullopt : std::optional(std::get<AIBackendError>(m_value));
    }

private:
    explicit ModelReply(std::variant<QString, AIBackendError> value) : m_value(std::move(value)) {}
    std::variant<QString, AIBackendError> m_value;
};

} // namespace kalvo
