#include "LiveBriefingContent.h"

#include "app/AppStateBinding.h"

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

// Spoken German runs at about this many words a minute.
constexpr int wordsPerMinute = 120;

} // namespace

LiveBriefingContent::LiveBriefingContent(QObject *parent) : QObject(parent) {}

QObject *LiveBriefingContent::appStateObject() const
{
    return m_state;
}

void LiveBriefingContent::setAppStateObject(QObject *object)
{
    if (!rebindAppState(this, m_state, object))
        return;
    if (m_state)
        connect(m_state, &AppState::liveBriefingChanged, this, &LiveBriefingContent::reload);
    reload();
    emit appStateChanged();
}

void LiveBriefingContent::clear()
{
    if (m_state && m_state->hasLiveBriefing())
        m_state->clearLiveBriefing();
}

void LiveBriefingContent::reload()
{
    const bool present = m_state && m_state->hasLiveBriefing();
    if (present) {
        m_briefing = contentOf(*m_state->liveBriefing());
        emit briefingChanged();
    }
    if (present != m_present) {
        m_present = present;
        emit presentChanged();
    }
}

int LiveBriefingContent::wordCount(const QString &text)
{
    return int(text.split(u' ', Qt::SkipEmptyParts).size());
}

QString LiveBriefingContent::sizeText(const QString &text)
{
    const int words = wordCount(text);
    const int minutes = words < wordsPerMinute ? 1 : words / wordsPerMinute;
    return u"~%1 Wörter · ≈%2 min"_s.arg(words).arg(minutes);
}

QVariantMap LiveBriefingContent::contentOf(const LiveBriefing &briefing)
{
    return {
        {u"id"_s, briefing.id},
        {u"title"_s, briefing.title},
        {u"text"_s, briefing.text},
        {u"sizeText"_s, sizeText(briefing.text)},
        {u"keyPoints"_s, briefing.keyPoints},
        {u"watchNext"_s, briefing.watchNext},
        {u"hasAudio"_s, briefing.audioData.has_value()},
        {u"audio"_s, briefing.audioData.value_or(QByteArray())},
    };
}

} // namespace kalvo
