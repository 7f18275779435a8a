#include "AiRecords.h"

#include <QUuid>

namespace kalvo {

QString newRecordId()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

} // namespace kalvo
