#pragma once

#include <QObject>
#include <QStringList>

class QQuickWindow;

namespace kalvo {

class AppState;

// Writes a trace line when a news cycle ends (with the frames drawn since the
// previous one) and when a new headline's row
// has reached the screen (the first frame swapped after it was listed).
// Does nothing unless the kalvo.trace category is enabled.
class HeadlineTrace : public QObject
{
    Q_OBJECT
public:
    HeadlineTrace(AppState &state, QQuickWindow &window);

private:
    void flush();

    AppState &m_state;
    QStringList m_listed; // links listed since the last frame
    int m_frames = 0;     // since the last cycle ended
};

} // namespace kalvo
