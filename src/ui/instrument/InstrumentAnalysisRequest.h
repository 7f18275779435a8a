#pragma once

#include "app/AppState.h"

#include "ai/AiRecords.h"

#include <QCoroTask>
#include <QObject>
#include <QPointer>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

#include <optional>

namespace kalvo {

// The instrument analysis of the pair sheet: start() asks AppState for the
// analysis of `pair` and keeps `busy` up until the answer is in. An answer
// becomes `result` and finished(true) tells the sheet to open the analysis;
// no answer leaves the last result as it was and reports finished(false).
// A second start() while one runs is ignored.
class InstrumentAnalysisRequest : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QObject *appState READ appStateObject WRITE setAppStateObject NOTIFY appStateChanged)
    Q_PROPERTY(QString pair MEMBER m_pair NOTIFY pairChanged)
    Q_PROPERTY(bool busy READ busy NOTIFY busyChanged)
    Q_PROPERTY(bool hasResult READ hasResult NOTIFY resultChanged)
    // The result as PricePresentation::analysisValues gives it; empty without one.
    Q_PROPERTY(QVariantMap result READ result NOTIFY resultChanged)

public:
    explicit InstrumentAnalysisRequest(QObject *parent = nullptr);

    QObject *appStateObject() const;
    void setAppStateObject(QObject *state);

    bool busy() const { return m_busy; }
    bool hasResult() const { return m_result.has_value(); }
    QVariantMap result() const;

    Q_INVOKABLE void start();
    // Takes `analysis` as if it had just arrived.
    void deliver(const InstrumentAnalysis &analysis);

signals:
    void appStateChanged();
    void pairChanged();
    void busyChanged();
    void resultChanged();
    void finished(bool found);

private:
    QCoro::Task<> run(QString pair);
    void setBusy(bool busy);

    QPointer<AppState> m_state;
    QString m_pair;
    bool m_busy = false;
    std::optional<InstrumentAnalysis> m_result;
};

} // namespace kalvo
