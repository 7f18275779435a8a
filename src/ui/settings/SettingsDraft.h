#pragma once

#include "app/AppState.h"
#include "core/Config.h"

#include <QCoroTask>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

#include <chrono>
#include <functional>

namespace kalvo {

// The working copy of the settings sheet. It is filled from AppState's
// configuration when the state is set, changes only itself while the user
// edits, and reaches AppState and the files only through save(). The sheet
// makes a new one each time it opens, so closing without saving discards.
//
// Besides the configuration it edits what the AI needs and the settings
// file does not hold: the "backend" of the data folder's endpoints file and
// the access token in the backend_token file. Both are read in the
// background when the state is set; a field the user has typed into before
// they arrive keeps what was typed.
class SettingsDraft : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QObject *appState READ appStateObject WRITE setAppStateObject NOTIFY appStateChanged)
    Q_PROPERTY(QString pairsText READ pairsText WRITE setPairsText NOTIFY draftChanged)
    Q_PROPERTY(QString extrasText READ extrasText WRITE setExtrasText NOTIFY draftChanged)
    Q_PROPERTY(qint64 priceRefreshSeconds READ priceRefreshSeconds NOTIFY draftChanged)
    Q_PROPERTY(double alertMinScore READ alertMinScore NOTIFY draftChanged)
    Q_PROPERTY(QString newsSoundNormal READ newsSoundNormal WRITE setNewsSoundNormal NOTIFY draftChanged)
    Q_PROPERTY(QString newsSoundHighImpact READ newsSoundHighImpact WRITE setNewsSoundHighImpact NOTIFY draftChanged)
    Q_PROPERTY(QString claudeKeyText READ claudeKeyText WRITE setClaudeKeyText NOTIFY draftChanged)
    Q_PROPERTY(QString openaiKeyText READ openaiKeyText WRITE setOpenaiKeyText NOTIFY draftChanged)
    Q_PROPERTY(QString backendText READ backendText WRITE setBackendText NOTIFY draftChanged)
    // Typed only to replace the stored token; empty keeps it.
    Q_PROPERTY(QString tokenText READ tokenText WRITE setTokenText NOTIFY draftChanged)
    Q_PROPERTY(bool backendTextUsable READ backendTextUsable NOTIFY draftChanged)
    Q_PROPERTY(bool tokenStored READ tokenStored NOTIFY storedChanged)
    Q_PROPERTY(bool saved READ saved NOTIFY savedChanged)
    Q_PROPERTY(QStringList soundNames READ soundNames CONSTANT)
    Q_PROPERTY(QString configurationPath READ configurationPath CONSTANT)
    Q_PROPERTY(QString version READ version CONSTANT)

public:
    using SoundPlayer = std::function<void(const QString &name)>;

    static constexpr qint64 priceRefreshMin = 5, priceRefreshMax = 120, priceRefreshStep = 5;
    static constexpr double alertScoreMin = 1, alertScoreMax = 10, alertScoreStep = 1;
    static constexpr auto savedShownFor = std::chrono::seconds(3);

    explicit SettingsDraft(QObject *parent = nullptr);

    QObject *appStateObject() const;
    void setAppStateObject(QObject *state);

    // The working copy as save() would publish it right now.
    Config draftConfig() const;

    QString pairsText() const { return m_pairsText; }
    void setPairsText(const QString &text);
    QString extrasText() const { return m_extrasText; }
    void setExtrasText(const QString &text);
    qint64 priceRefreshSeconds() const { return m_config.priceRefreshSeconds; }
    double alertMinScore() const { return m_config.alertMinScore; }
    QString newsSoundNormal() const { return m_config.newsSoundNormal; }
    void setNewsSoundNormal(const QString &name);
    QString newsSoundHighImpact() const { return m_config.newsSoundHighImpact; }
    void setNewsSoundHighImpact(const QString &name);
    QString claudeKeyText() const { return m_claudeKeyText; }
    void setClaudeKeyText(const QString &text);
    QString openaiKeyText() const { return m_openaiKeyText; }
    void setOpenaiKeyText(const QString &text);
    QString backendText() const { return m_backendText; }
    void setBackendText(const QString &text);
    QString tokenText() const { return m_tokenText; }
    void setTokenText(const QString &text);
    // Empty (no shared backend) or an http(s) address with a host.
    bool backendTextUsable() const;
    bool tokenStored() const { return m_tokenStored; }
    bool saved() const { return m_saved; }

    static QStringList soundNames();
    static QString configurationPath();
    static QString version();

    // One step up (direction > 0) or down, held inside the stepper's range.
    Q_INVOKABLE void stepPriceRefresh(int direction);
    Q_INVOKABLE void stepAlertMinScore(int direction);
    // Plays the sound the working copy has chosen for ordinary alerts, or for
    // high-impact ones.
    Q_INVOKABLE void preview(bool highImpact) const;
    // Publishes the working copy on AppState at once, shows the confirmation
    // for three seconds and writes the files in the background. A change of
    // keys, backend or token re-routes the AI once the files are written.
    Q_INVOKABLE void save();

    // Where previews go; playAlertSound unless replaced.
    void setSoundPlayer(SoundPlayer player) { m_playSound = std::move(player); }

    // The list fields' rule: pieces between commas, empty ones between
    // adjacent commas dropped, blanks and tabs (not line breaks) trimmed from
    // both ends; a piece of blanks alone stays as an empty entry. Nothing else
    // is checked: case, duplicates and order stay as typed.
    static QStringList splitList(const QString &text);
    // Keys and tokens never contain white space: blanks and line breaks
    // pasted with one are dropped wherever they are.
    static QString cleanSecret(const QString &text);
    static qint64 steppedPriceRefresh(qint64 seconds, int direction);
    static double steppedAlertMinScore(double score, int direction);

signals:
    void appStateChanged();
    void draftChanged();
    void storedChanged();
    void savedChanged();
    // The files of one save are written (or could not be); `ok` when all were.
    void written(bool ok);

private:
    QCoro::Task<> loadStored();
    QCoro::Task<> hideSavedLater();
    void setSaved(bool saved);

    QPointer<AppState> m_state;
    Config m_config;
    QString m_pairsText;
    QString m_extrasText;
    QString m_claudeKeyText;
    QString m_openaiKeyText;
    QString m_backendText;
    QString m_tokenText;
    QString m_storedBackend;
    bool m_backendEdited = false;
    bool m_tokenStored = false;
    bool m_saved = false;
    SoundPlayer m_playSound;
};

} // namespace kalvo
