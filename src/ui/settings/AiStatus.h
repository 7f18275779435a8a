#pragma once

#include "app/AppState.h"

#include <QColor>
#include <QCoroTask>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

namespace kalvo {

// What the settings say about the AI: whether the backend answers and by
// which way it is reached, whether it speaks, which model answers, and the
// notes on what overrides the fields of the sheet. It follows AppState and
// runs its connection test.
class AiStatus : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QObject *appState READ appStateObject WRITE setAppStateObject NOTIFY appStateChanged)
    Q_PROPERTY(QString claudeText READ claudeText NOTIFY changed)
    Q_PROPERTY(QColor claudeColor READ claudeColor NOTIFY changed)
    Q_PROPERTY(QString speechText READ speechText NOTIFY changed)
    Q_PROPERTY(QColor speechColor READ speechColor NOTIFY changed)
    Q_PROPERTY(QString modelText READ modelText NOTIFY changed)
    Q_PROPERTY(QColor modelColor READ modelColor NOTIFY changed)
    Q_PROPERTY(QStringList notes READ notes NOTIFY changed)
    // A probe, a re-routing or a test is under way.
    Q_PROPERTY(bool busy READ busy NOTIFY changed)
    Q_PROPERTY(QString testResult READ testResult NOTIFY changed)
    Q_PROPERTY(QColor testResultColor READ testResultColor NOTIFY changed)

public:
    // One line of the status: its text and the colour of its dot.
    struct Line
    {
        QString text;
        QColor dot;
    };
    struct Lines
    {
        Line claude;
        Line speech;
        Line model;
    };
    // Whether vendor keys or a token come from the process environment,
    // where they win over what the sheet stores.
    struct Environment
    {
        bool anthropicKey = false;
        bool openaiKey = false;
        bool backendToken = false;

        static Environment current();
    };

    explicit AiStatus(QObject *parent = nullptr);

    QObject *appStateObject() const;
    void setAppStateObject(QObject *state);

    QString claudeText() const { return m_lines.claude.text; }
    QColor claudeColor() const { return m_lines.claude.dot; }
    QString speechText() const { return m_lines.speech.text; }
    QColor speechColor() const { return m_lines.speech.dot; }
    QString modelText() const { return m_lines.model.text; }
    QColor modelColor() const { return m_lines.model.dot; }
    QStringList notes() const { return m_notes; }
    bool busy() const;
    QString testResult() const { return m_testResult; }
    QColor testResultColor() const { return m_testResultColor; }

    // The start's probe again and one short speech request; the lines and
    // testResult follow the outcome.
    Q_INVOKABLE void test();

    // `openaiKeyKnown`: the configuration or the environment has an OpenAI key.
    static Lines linesFor(const AiRoute &route, AppState::AiCheck check, std::optional<bool> speech,
                          const QString &model, bool openaiKeyKnown);
    static QStringList notesFor(const AiRoute &route, bool demo, const Environment &environment);
    // host[:port] of the backend, as the lines name it.
    static QString backendName(const QUrl &backend);

signals:
    void appStateChanged();
    void changed();

private:
    void refresh();
    QCoro::Task<> runTest();

    QPointer<AppState> m_state;
    Lines m_lines;
    QStringList m_notes;
    bool m_testing = false;
    QString m_testResult;
    QColor m_testResultColor;
};

} // namespace kalvo
