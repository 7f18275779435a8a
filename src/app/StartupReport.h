#pragma once

#include <QElapsedTimer>

class QQuickWindow;

namespace kalvo {

class AppState;

// Measures how long the window takes to show its first frame and the first
// frame after the stored headlines arrived, prints both and quits.
// Used by the start-up benchmark (--startup-report).
class StartupReport
{
public:
    StartupReport() { m_clock.start(); }
    void watch(QQuickWindow *window, AppState *state);

private:
    QElapsedTimer m_clock;
};

} // namespace kalvo
