#pragma once

#include <QString>

#include <optional>

namespace kalvo {

// The access token every backend request carries. It is looked up anew for
// each request, so a token provisioned while the app runs is used at once:
// the environment variable KALVO_BACKEND_TOKEN when set and not blank, else
// the file "backend_token" in the data folder. Both are trimmed.
// These functions touch the file system: call them off the GUI thread.
class BackendToken
{
public:
    static QString environmentVariable();
    // Empty when there is no data folder.
    static QString filePath();

    static std::optional<QString> read();

    // Stores `token` in the token file, readable and writable by the owner
    // only, creating the data folder. Returns what went wrong, if anything;
    // the text never contains the token.
    static std::optional<QString> write(const QString &token);
};

} // namespace kalvo
