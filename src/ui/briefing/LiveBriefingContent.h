#pragma once

#include "app/AppState.h"

#include <QObject>
#include <QPointer>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

namespace kalvo {

// The briefing the sheet shows: `present` while AppState holds one, and
// `briefing` as the view reads it. When the briefing is cleared `present`
// turns false but `briefing` keeps the last one, so a closing sheet still
// shows what it showed.
//
// `briefing` holds: "id", "title", "text", "sizeText", "keyPoints",
// "watchNext", "hasAudio" and "audio" (the MP3 bytes, empty without audio).
class LiveBriefingContent : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QObject *appState READ appStateObject WRITE setAppStateObject NOTIFY appStateChanged)
    Q_PROPERTY(bool present READ present NOTIFY presentChanged)
    Q_PROPERTY(QVariantMap briefing READ briefing NOTIFY briefingChanged)

public:
    explicit LiveBriefingContent(QObject *parent = nullptr);

    QObject *appStateObject() const;
    void setAppStateObject(QObject *state);

    bool present() const { return m_present; }
    QVariantMap briefing() const { return m_briefing; }

    // Forgets the briefing in AppState, as closing its sheet does.
    Q_INVOKABLE void clear();

    // The words of a spoken text: the pieces between blanks.
    static int wordCount(const QString &text);
    // "~W Wörter · ≈M min": W words, M whole minutes at 120 words a minute,
    // at least one.
    static QString sizeText(const QString &text);
    static QVariantMap contentOf(const LiveBriefing &briefing);

signals:
    void appStateChanged();
    void presentChanged();
    void briefingChanged();

private:
    void reload();

    QPointer<AppState> m_state;
    bool m_present = false;
    QVariantMap m_briefing;
};

} // namespace kalvo
