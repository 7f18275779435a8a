#include "app/AppState.h"
#include "app/NewsFilterModel.h"
#include "app/NewsListModel.h"
#include "core/Clock.h"
#include "storage/DatabaseService.h"

#include "../TestSupport.h"

#include <QAbstractItemModelTester>
#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>

using namespace kalvo;
using namespace std::chrono_literals;

namespace {

const QDateTime noon = test::utc(2025, 3, 5, 12, 0);

NewsItem headline(const QString &id, int minutesAgo, std::optional<NewsAnalysis> analysis = {})
{
    NewsItem item = test::newsItem(1, noon.addSecs(-60 * minutesAgo));
    item.id = id;
    item.title = u"Headline "_s + id;
    item.hash = u"hash-"_s + id;
    item.score = 5;
    item.analysis = std::move(analysis);
    return item;
}

NewsAnalysis analysis(const QString &headline = {})
{
    NewsAnalysis result;
    result.score = 7.5;
    result.headline = headline;
    return result;
}

// A real AppState with the list model and Qt's model checker on it.
struct Harness
{
    ManualClock clock{noon};
    AppState state{clock};
    NewsListModel model;
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::QtTest};
    QSignalSpy inserted{&model, &QAbstractItemModel::rowsInserted};
    QSignalSpy removed{&model, &QAbstractItemModel::rowsRemoved};
    QSignalSpy reset{&model, &QAbstractItemModel::modelReset};
    QSignalSpy changed{&model, &QAbstractItemModel::dataChanged};

    Harness()
    {
        state.setSoundPlayer([](const QString &) {});
        model.setAppState(&state);
        reset.clear();
    }

    QStringList ids() const
    {
        QStringList result;
        for (int row = 0; row < model.rowCount(); ++row)
            result << model.index(row).data(NewsListModel::IdRole).toString();
        return result;
    }
};

QList<int> firstRows(const QSignalSpy &spy)
{
    QList<int> rows;
    for (const QList<QVariant> &arguments : spy)
        rows << arguments.at(1).toInt();
    return rows;
}

} // namespace

class TestNewsListModel : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dataDir;

private slots:
    void initTestCase() { qputenv("KALVO_DATA_DIR", m_dataDir.path().toUtf8()); }

    void eachArrivalIsOneInsertedRow_data()
    {
        QTest::addColumn<QList<int>>("minutesAgo");
        QTest::addColumn<QList<int>>("insertedAt");
        QTest::addColumn<QStringList>("order");
        QTest::newRow("newer goes on top") << QList<int>{5, 1} << QList<int>{0, 0} << QStringList{u"1"_s, u"0"_s};
        QTest::newRow("older is sorted in, the same age after")
            << QList<int>{5, 30, 10, 10} << QList<int>{0, 1, 1, 2} << QStringList{u"0"_s, u"2"_s, u"3"_s, u"1"_s};
    }
    void eachArrivalIsOneInsertedRow()
    {
        QFETCH(QList<int>, minutesAgo);
        Harness h;
        for (int i = 0; i < minutesAgo.size(); ++i)
            h.state.onNewsItem(headline(QString::number(i), minutesAgo[i]));
        QTEST(firstRows(h.inserted), "insertedAt");
        QTEST(h.ids(), "order");
        QCOMPARE(h.removed.count(), 0);
        QCOMPARE(h.reset.count(), 0);
        QCOMPARE(h.changed.count(), 0);
    }

    void theTwoHundredAndFirstDropsTheOldestRow()
    {
        Harness h;
        for (int i = 0; i < AppState::maxNews; ++i)
            h.state.onNewsItem(headline(u"old-%1"_s.arg(i), 10 + i));
        h.inserted.clear();
        h.state.onNewsItem(headline(u"new"_s, 1));
        QCOMPARE(firstRows(h.inserted), QList<int>{0});
        QCOMPARE(firstRows(h.removed), QList<int>{AppState::maxNews});
        QCOMPARE(h.model.rowCount(), AppState::maxNews);
        QCOMPARE(h.ids().first(), u"new"_s);
        QCOMPARE(h.ids().last(), u"old-198"_s);
    }

    void aKnownIdChangesNoRowAnUpdateOne()
    {
        Harness h;
        for (int i = 0; i < 3; ++i)
            h.state.onNewsItem(headline(QString::number(i), i));
        h.state.onNewsItem(headline(u"1"_s, 0));
        QCOMPARE(h.model.rowCount(), 3);
        emit h.state.newsUpdated(1);
        QCOMPARE(h.changed.count(), 1);
        QCOMPARE(h.changed.first().at(0).toModelIndex().row(), 1);
        QCOMPARE(h.changed.first().at(1).toModelIndex().row(), 1);
        QCOMPARE(h.inserted.count(), 3);
        QCOMPARE(h.reset.count(), 0);
    }

    void storedHeadlinesArriveAsOneReset()
    {
        const QString dataDir = m_dataDir.path();
        {
            QDir().mkpath(dataDir);
            ManualClock clock(noon);
            DatabaseService db(dataDir + u"/kalvo_trading.db"_s, clock);
            db.open().waitForFinished();
            for (int i = 0; i < 3; ++i)
                db.insert(headline(u"stored-%1"_s.arg(i), 10 * i)).waitForFinished();
            db.updateAnalysis(u"stored-1"_s, analysis(), 7.5).waitForFinished();
        }
        Harness h;
        h.state.setEndpoints(Endpoints::fromJson(R"({"base":"http://127.0.0.1:9","backend":"http://127.0.0.1:9/f"})",
                                                 nullptr));
        QSignalSpy started(&h.state, &AppState::started);
        QSignalSpy counted(&h.model, &NewsListModel::countChanged);
        h.state.startIfNeeded();
        QVERIFY(started.wait(5000));
        h.state.stop();
        QCOMPARE(h.reset.count(), 1);
        QCOMPARE(h.inserted.count(), 0);
        QCOMPARE(h.ids(), (QStringList{u"stored-0"_s, u"stored-1"_s, u"stored-2"_s}));
        QCOMPARE(h.model.analyzedCount(), 1);
        QVERIFY(counted.count() >= 1);
        QDir(dataDir).removeRecursively();
    }

    void rolesReadAsTheViewsNameThem_data()
    {
        QTest::addColumn<QByteArray>("role");
        QTest::addColumn<QVariant>("withAnalysis");
        QTest::addColumn<QVariant>("without");
        QTest::newRow("displayTitle") << QByteArray("displayTitle") << QVariant(u"EZB senkt"_s)
                                      << QVariant(u"Headline x"_s);
        QTest::newRow("hasAnalysis") << QByteArray("hasAnalysis") << QVariant(true) << QVariant(false);
        QTest::newRow("highImpact: a feed score of 8 or more")
            << QByteArray("highImpact") << QVariant(true) << QVariant(false);
        QTest::newRow("strategy without bias is hidden")
            << QByteArray("strategy") << QVariant(QVariantMap()) << QVariant(QVariantMap());
    }
    void rolesReadAsTheViewsNameThem()
    {
        QFETCH(QByteArray, role);
        QFETCH(QVariant, withAnalysis);
        QFETCH(QVariant, without);
        Harness h;
        const int roleId = h.model.roleNames().key(role, -1);
        QVERIFY2(roleId > 0, role.constData());
        NewsAnalysis deep = analysis(u"EZB senkt"_s);
        deep.strategy = TradeStrategy{QString(), u"1.08"_s, u"1.09"_s, u"1.07"_s};
        NewsItem a = headline(u"a"_s, 3, deep);
        a.score = 8.0; // the analysis says 7.5: the feed's score decides
        NewsItem x = headline(u"x"_s, 3);
        x.score = 7.99;
        h.state.onNewsItem(a);
        h.state.onNewsItem(x);
        QCOMPARE(h.model.index(0).data(roleId), withAnalysis);
        QCOMPARE(h.model.index(1).data(roleId), without);
    }

    void agesMoveOnWithTheClock()
    {
        Harness h;
        h.state.onNewsItem(headline(u"a"_s, 0));
        h.state.onNewsItem(headline(u"b"_s, 2));
        QCOMPARE(h.model.index(0).data(NewsListModel::AgeRole).toString(), u"gerade eben"_s);
        h.clock.advance(90s);
        h.model.refreshAges();
        QCOMPARE(h.changed.count(), 1);
        QCOMPARE(h.changed.first().at(0).toModelIndex().row(), 0);
        QCOMPARE(h.changed.first().at(1).toModelIndex().row(), 1);
        const auto roles = h.changed.first().at(2).value<QList<int>>();
        QVERIFY(roles.contains(NewsListModel::AgeRole));
        QVERIFY(!roles.contains(NewsListModel::DisplayTitleRole));
        QCOMPARE(h.model.index(0).data(NewsListModel::AgeRole).toString(), u"vor 1 min"_s);
        QCOMPARE(h.model.index(1).data(NewsListModel::AgeRole).toString(), u"vor 3 min"_s);
    }

    void filterPassesOnlyMatchingArrivals_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QStringList>("visible");
        QTest::newRow("analysis headline") << u"zinsen"_s << QStringList{u"ecb"_s};
        QTest::newRow("nothing") << u"zzz"_s << QStringList{};
    }
    void filterPassesOnlyMatchingArrivals()
    {
        QFETCH(QString, filter);
        QFETCH(QStringList, visible);
        Harness h;
        NewsFilterModel filtered;
        QAbstractItemModelTester filteredTester(&filtered, QAbstractItemModelTester::FailureReportingMode::QtTest);
        filtered.setSourceModel(&h.model);
        filtered.setFilterText(filter);
        QSignalSpy filteredInserted(&filtered, &QAbstractItemModel::rowsInserted);

        // Only the ECB headline's analysis speaks of "Zinsen".
        for (const NewsItem &item : {headline(u"fed"_s, 1), headline(u"ecb"_s, 2, analysis(u"EZB: Zinsen sinken"_s))})
            h.state.onNewsItem(item);

        QStringList ids;
        for (int row = 0; row < filtered.rowCount(); ++row)
            ids << filtered.index(row, 0).data(NewsListModel::IdRole).toString();
        QCOMPARE(ids, visible);
        QCOMPARE(filtered.count(), visible.size());
        QCOMPARE(filteredInserted.count(), visible.size()); // a hidden arrival touches no visible row
        filtered.setFilterText(QString());
        QCOMPARE(filtered.count(), 2);
    }
};

QTEST_MAIN(TestNewsListModel)
#include "tst_newslistmodel.moc"
