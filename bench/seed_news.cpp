// kalvo-seed-news <db-path> <count>: stores plausible headlines published
// over the last eight hours, through DatabaseService so that the file is
// exactly what the app itself would have written.

#include "core/Clock.h"
#include "storage/DatabaseService.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QUuid>

#include <cstdio>

using namespace kalvo;
using namespace Qt::StringLiterals;

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    bool ok = false;
    const int count = argc == 3 ? QByteArray(argv[2]).toInt(&ok) : 0;
    if (!ok || count < 0) {
        std::fprintf(stderr, "usage: kalvo-seed-news <db-path> <count>\n");
        return 2;
    }
    const QString path = QString::fromLocal8Bit(argv[1]);
    QDir().mkpath(QFileInfo(path).absolutePath());
    const QStringList headlines{u"Fed's Powell: more progress on inflation needed before cuts"_s,
                                u"ECB's Lagarde: June cut likely if data confirm the outlook"_s,
                                u"US non-farm payrolls rise 175K, unemployment ticks up to 3.9%"_s,
                                u"USD/JPY slides below 153.00 on intervention fears"_s,
                                u"UK GDP grows 0.6% in Q1, ending technical recession"_s,
                                u"Gold climbs to $2,340 as Treasury yields retreat"_s,
                                u"RBA holds cash rate at 4.35%, keeps hawkish tone"_s};
    const QStringList sources{u"InvestingLive"_s, u"FXStreet"_s, u"Reuters"_s, u"CNBC"_s};

    DatabaseService db(path, Clock::system());
    db.open().waitForFinished();
    const QDateTime now = Clock::system().now();
    for (int i = 0; i < count; ++i) {
        NewsItem item;
        item.title = headlines[i % headlines.size()] + (i < headlines.size() ? u""_s : u" (update %1)"_s.arg(i));
        item.source = sources[i % sources.size()];
        item.url = u"https://news.example.com/fx/%1"_s.arg(i);
        item.published = now.addSecs(-8 * 3600LL * i / count - i % 7 * 11);
        item.content = item.title + u". Markets reacted across the major pairs."_s;
        item.hash = QString::fromLatin1(
            QCryptographicHash::hash((item.title + item.url).toUtf8(), QCryptographicHash::Md5).toHex());
        item.id = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
        item.score = i * 37 % 10;
        item.priority = i % 3 + 1;
        db.insert(item).waitForFinished();
        if (item.score >= 7) // scored high enough to have been analysed
            db.updateAnalysis(item.id, {true, item.score, u"now"_s, item.title, item.content, {{u"EUR/USD"_s, u"bullish"_s}}},
                              item.score).waitForFinished();
    }
    const qsizetype stored = db.loadRecent(count).result().size();
    std::printf("%lld items in %s\n", qint64(stored), qPrintable(path));
    return stored == count ? 0 : 1;
}
