#include "Paths.h"

#include <QDir>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace kalvo {

QString dataDirectory()
{
    const QString overridden = qEnvironmentVariable("KALVO_DATA_DIR");
    if (!overridden.isEmpty())
        return QDir::cleanPath(overridden);
    const QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (base.isEmpty())
        return {};
    return base + "/Kalvo"_L1;
}

QString databasePath()
{
    return dataDirectory() + "/kalvo_trading.db"_L1;
}

} // namespace kalvo
