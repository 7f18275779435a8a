#include "InstrumentAnalysisRequest.h"

#include "ui/prices/PricePresentation.h"

namespace kalvo {

InstrumentAnalysisRequest::InstrumentAnalysisRequest(QObject *parent) : QObject(parent) {}

QObject *InstrumentAnalysisRequest::appStateObject() const
{
    return m_state;
}

void InstrumentAnalysisRequest::setAppStateObject(QObject *object)
{
    auto *state = qobject_cast<AppState *>(object);
    if (m_state == state)
        return;
    m_state = state;
    emit appStateChanged();
}

QVariantMap InstrumentAnalysisRequest::result() const
{
    return m_result ? PricePresentation::analysisValues(*m_result) : QVariantMap();
}

void InstrumentAnalysisRequest::start()
{
    if (m_busy || !m_state || m_pair.isEmpty())
        return;
    setBusy(true);
    run(m_pair); // finishes by itself; it checks that this object still exists
}

QCoro::Task<> InstrumentAnalysisRequest::run(QString pair)
{
    const QPointer<InstrumentAnalysisRequest> self(this);
    const std::optional<InstrumentAnalysis> analysis = co_await m_state->requestInstrumentAnalysis(pair);
    if (!self)
        co_return;
    setBusy(false);
    if (analysis)
        deliver(*analysis);
    else
        emit finished(false);
}

void InstrumentAnalysisRequest::deliver(const InstrumentAnalysis &analysis)
{
    m_result = analysis;
    emit resultChanged();
    emit finished(true);
}

void InstrumentAnalysisRequest::setBusy(bool busy)
{
    if (m_busy == busy)
        return;
    m_busy = busy;
    emit busyChanged();
}

} // namespace kalvo
