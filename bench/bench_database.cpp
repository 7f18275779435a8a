// Times the database work the news view waits for: reading the newest
// headlines at start-up, and storing a feed refresh one item at a time.

#include "core/Clock.h"
#include "storage/DatabaseService.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <sqlite3.h>

#include <cstdio>

using namespace kalvo;
using namespace Qt::StringLiterals;

namespace {

// Seeding through the service would cost one transaction per row; write the
// file directly in a single one instead.
bool seed(const QString &path, int rows, const QDateTime &now)
{
    const QByteArray analysis = R"({"score":7.5,"urgency":"now","headline":"Fed holds",)"
                                R"("pairs":{"EUR/USD":"bullish","USD/JPY":"bearish"},"factors":["rates"]})";
    sqlite3 *db = nullptr;
    sqlite3_stmt *insert = nullptr;
    sqlite3_open(path.toUtf8().constData(), &db);
    bool ok = sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr) == SQLITE_OK
              && sqlite3_prepare_v2(db, "INSERT INTO news VALUES (?,?,?,?,?,?,?,?,?,?)", -1, &insert, nullptr) == SQLITE_OK;
    for (int i = 0; ok && i < rows; ++i) {
        const QByteArray n = QByteArray::number(i);
        const QByteArray texts[] = {"seed-" + n, "Dollar slips as yields ease " + n, "FXStreet",
                                    "https://www.fxstreet.com/news/" + n, formatIsoUtc(now.addSecs(-17 * i)).toUtf8(),
                                    "Treasury yields fell after softer data.", "seed-hash-" + n, i % 2 ? analysis : ""};
        for (int c = 0; c < 8; ++c)
            sqlite3_bind_text(insert, c < 7 ? c + 1 : 10, texts[c].constData(), int(texts[c].size()), SQLITE_TRANSIENT);
        sqlite3_bind_double(insert, 8, i % 10);
        sqlite3_bind_int(insert, 9, i % 4);
        ok = sqlite3_step(insert) == SQLITE_DONE && sqlite3_reset(insert) == SQLITE_OK;
    }
    sqlite3_finalize(insert);
    ok = ok && sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr) == SQLITE_OK;
    sqlite3_close(db);
    return ok;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    constexpr int rows = 100'000, runs = 20, inserts = 1'000;
    QTemporaryDir dir;
    const QString path = dir.filePath(u"kalvo_trading.db"_s);
    Clock &clock = Clock::system();
    DatabaseService(path, clock).open().waitForFinished();
    if (!seed(path, rows, clock.now()))
        return 1;

    DatabaseService db(path, clock);
    db.open().waitForFinished();
    QList<double> times;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        if (db.loadRecent(60).result().size() != 60)
            return 1;
        times << timer.nsecsElapsed() / 1e6;
    }
    std::sort(times.begin(), times.end());
    std::printf("loadRecent(60) on %d rows: %.3f ms (median of %d)\n", rows, (times[runs / 2 - 1] + times[runs / 2]) / 2, runs);

    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < inserts; ++i) {
        db.insert({u"bench-%1"_s.arg(i), u"Lagarde: policy stays data dependent (%1)"_s.arg(i), u"InvestingLive"_s,
                   u"https://investinglive.com/news/%1"_s.arg(i), clock.now(), u"From the press conference."_s,
                   u"bench-hash-%1"_s.arg(i), 0, 2, {}})
            .waitForFinished();
    }
    const double total = timer.nsecsElapsed() / 1e6;
    std::printf("insert %d items one by one: %.1f ms total, %.3f ms each\n", inserts, total, total / inserts);
    return 0;
}
