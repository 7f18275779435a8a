#pragma once

#include <QString>

namespace kalvo {

// The per-user folder that holds the configuration and the news database:
// $KALVO_DATA_DIR when set (tests, demo runs), else "Kalvo" inside the
// platform's per-user data folder (~/.local/share/Kalvo on Linux).
QString dataDirectory();

QString databasePath();

} // namespace kalvo
