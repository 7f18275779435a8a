#include "StartupReport.h"

#include "AppState.h"

#include <QCoreApplication>
#include <QQuickWindow>
#include <QTimer>

#include <cstdio>

namespace kalvo {

void StartupReport::watch(QQuickWindow *window, AppState *state)
{
    auto firstFrameSeen = std::make_shared<bool>(false);
    QObject::connect(window, &QQuickWindow::frameSwapped, window, [this, window, state, firstFrameSeen] {
        if (!*firstFrameSeen) {
            *firstFrameSeen = true;
            std::printf("first frame: %lld ms\n", static_cast<long long>(m_clock.elapsed()));
        }
        if (state->newsCount() == 0)
            return;
        std::printf("first frame with %d stored news: %lld ms\n", state->newsCount(),
                    static_cast<long long>(m_clock.elapsed()));
        std::fflush(stdout);
        QObject::disconnect(window, &QQuickWindow::frameSwapped, window, nullptr);
        QCoreApplication::quit();
    });
    // A database without rows never produces the second line.
    QTimer::singleShot(10000, window, [] {
        std::printf("no stored news shown within 10 s\n");
        QCoreApplication::exit(1);
    });
}

} // namespace kalvo
