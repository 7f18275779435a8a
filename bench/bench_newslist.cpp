// The news list's share of the GUI thread with 200 headlines on screen: one
// arriving headline (model insert, the oldest row dropped, re-layout, a
// rendered frame) and one re-scored headline (one changed row, a frame),
// beside a frame with nothing changed; then the resident memory of the
// process with the window up. Offscreen; run it on a quiet machine.

#include "BenchWindow.h"
#include "screens/DemoNews.h"

#include <QFile>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(KalvoPlugin)

using namespace kalvo;
using namespace Qt::StringLiterals;

namespace {

constexpr int rounds = 60;

bench::Figures time(const std::function<void(int)> &work)
{
    return bench::time(rounds, work);
}

using bench::print;

long residentKilobytes()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toLong();
    }
    return -1;
}

} // namespace

int main(int argc, char *argv[])
{
    bench::preferOffscreen();
    QGuiApplication app(argc, argv);
    bench::BenchWindow harness;
    if (!harness.load())
        return 1;
    AppState &state = harness.state;
    QQuickWindow *window = harness.window;
    const QDateTime start = harness.start;

    for (const NewsItem &item : demoNews(start, AppState::maxNews))
        state.onNewsItem(item);
    window->grabWindow(); // first frame: delegates built, caches warm

    // A fresh headline each round, newer than everything listed.
    int arrivals = 0;
    const auto arrive = [&](int) {
        NewsItem item = demoNews(start, 2).first();
        item.id = u"bench-%1"_s.arg(arrivals);
        item.published = start.addSecs(++arrivals);
        state.onNewsItem(item);
    };
    const auto rescore = [&](int round) { emit state.newsUpdated(round % 10); };

    std::printf("news list with %d headlines, %d rounds each\n", int(state.newsCount()), rounds);
    print("frame, nothing changed", time([&](int) { window->grabWindow(); }));
    print("arriving headline: model and bindings", time(arrive));
    print("arriving headline: with layout and frame", time([&](int i) {
              arrive(i);
              window->grabWindow();
          }));
    print("re-scored headline: model and bindings", time(rescore));
    print("re-scored headline: with layout and frame", time([&](int i) {
              rescore(i);
              window->grabWindow();
          }));
    std::printf("resident memory with the window up: %ld kB\n", residentKilobytes());
    return 0;
}
