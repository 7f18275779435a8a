#pragma once

#include "BackendEnvelope.h"

#include <QByteArray>
#include <QCoroTask>
#include <QUrl>

#include <chrono>

class QNetworkAccessManager;

namespace kalvo {

// POSTs a JSON body and waits for the whole answer, giving up when nothing
// moves for `timeout`. An HTTP error status is an answer, not a failure: the
// backend contract looks at the status itself.
QCoro::Task<HttpOutcome> postJson(QNetworkAccessManager *network, QUrl url, QByteArray body,
                                  std::chrono::milliseconds timeout);

} // namespace kalvo
