#include "app/AppState.h"
#include "ui/news/NewsFilterModel.h"
#include "ui/news/NewsListModel.h"
#include "core/Clock.h"
#include "storage/DatabaseService.h"

#include "../../TestSupport.h"

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
    item.analysis = std::move(analysis);
    return item;
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

    // Newer on top, older sorted in, the same age after the one already there; a known id is no new row.
    void eachArrivalIsOneInsertedRow()
    {
        Harness h;
        const QList<int> minutesAgo{5, 30, 10, 10, 1};
        for (int i = 0; i < minutesAgo.size(); ++i)
            h.state.onNewsItem(headline(QString::number(i), minutesAgo[i]));
        h.state.onNewsItem(headline(u"0"_s, 0));
        QCOMPARE(firstRows(h.inserted), (QList<int>{0, 1, 1, 2, 0}));
        QCOMPARE(h.ids(), (QStringList{u"4"_s, u"0"_s, u"2"_s, u"3"_s, u"1"_s}));
        QCOMPARE(h.removed.count() + h.reset.count() + h.changed.count(), 0);
        // An update changes its one row.
        emit h.state.newsUpdated(1);
        QCOMPARE(h.changed.count(), 1);
        QCOMPARE(h.changed.first().at(0).toModelIndex().row(), 1);
        QCOMPARE(h.changed.first().at(1).toModelIndex().row(), 1);
        QCOMPARE(h.reset.count(), 0);
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
        QCOMPARE(h.ids().last(), u"old-198"_s);
    }

    void storedHeadlinesArriveAsOneReset()
    {
        const QString dataDir = m_dataDir.path();
        {
            ManualClock clock(noon);
            DatabaseService db(dataDir + u"/kalvo_trading.db"_s, clock);
            db.open().waitForFinished();
            for (int i = 0; i < 3; ++i)
                db.insert(headline(u"stored-%1"_s.arg(i), 10 * i)).waitForFinished();
            db.updateAnalysis(u"stored-1"_s, NewsAnalysis{.score = 7.5}, 7.5).waitForFinished();
        }
        Harness h;
        h.state.setEndpoints(Endpoints::fromJson(R"({"base":"http://127.0.0.1:9","backend":"http://127.0.0.1:9/f"})",
                                                 nullptr));
        QSignalSpy started(&h.state, &AppState::started);
        h.state.startIfNeeded();
        QVERIFY(started.wait(5000));
        h.state.stop();
        QCOMPARE(h.reset.count(), 1);
        QCOMPARE(h.inserted.count(), 0);
        QCOMPARE(h.ids(), (QStringList{u"stored-0"_s, u"stored-1"_s, u"stored-2"_s}));
        QCOMPARE(h.model.analyzedCount(), 1);
        QDir(dataDir).removeRecursively();
    }

    // A feed score of 8 or more marks a row; a strategy without bias is hidden.
    void highImpactAndStrategyRoles()
    {
        Harness h;
        NewsAnalysis deep = NewsAnalysis{.score = 7.5, .headline = u"EZB senkt"_s};
        deep.strategy = TradeStrategy{QString(), u"1.08"_s, u"1.09"_s, u"1.07"_s};
        NewsItem a = headline(u"a"_s, 3, deep);
        a.score = 8.0; // the analysis says 7.5: the feed's score decides
        NewsItem x = headline(u"x"_s, 3);
        x.score = 7.99;
        h.state.onNewsItem(a);
        h.state.onNewsItem(x);
        const auto role = [&](int row, const QByteArray &name) {
            return h.model.index(row).data(h.model.roleNames().key(name, -1));
        };
        QCOMPARE(role(0, "highImpact"), QVariant(true));
        QCOMPARE(role(1, "highImpact"), QVariant(false));
        QCOMPARE(role(0, "strategy"), QVariant(QVariantMap()));
    }

    void agesMoveOnWithTheClock()
    {
        Harness h;
        h.state.onNewsItem(headline(u"a"_s, 0));
        h.state.onNewsItem(headline(u"b"_s, 2));
        h.clock.advance(90s);
        h.model.refreshAges();
        QCOMPARE(h.changed.count(), 1); // one signal over both rows, not for the title
        QCOMPARE(h.changed.first().at(0).toModelIndex().row(), 0);
        QCOMPARE(h.changed.first().at(1).toModelIndex().row(), 1);
        const auto roles = h.changed.first().at(2).value<QList<int>>();
        QVERIFY(roles.contains(NewsListModel::AgeRole) && !roles.contains(NewsListModel::DisplayTitleRole));
        QCOMPARE(h.model.index(0).data(NewsListModel::AgeRole).toString(), u"vor 1 min"_s);
        QCOMPARE(h.model.index(1).data(NewsListModel::AgeRole).toString(), u"vor 3 min"_s);
    }

    // Only the ECB headline's analysis speaks of "Zinsen"; a hidden arrival touches no visible row.
    void filterPassesOnlyMatchingArrivals()
    {
        Harness h;
        NewsFilterModel filtered;
        QAbstractItemModelTester filteredTester(&filtered, QAbstractItemModelTester::FailureReportingMode::QtTest);
        filtered.setSourceModel(&h.model);
        filtered.setFilterText(u"zinsen"_s);
        QSignalSpy filteredInserted(&filtered, &QAbstractItemModel::rowsInserted);
        h.state.onNewsItem(headline(u"fed"_s, 1));
        h.state.onNewsItem(headline(u"ecb"_s, 2, NewsAnalysis{.headline = u"EZB: Zinsen sinken"_s}));
        QCOMPARE(filtered.rowCount(), 1);
        QCOMPARE(filtered.index(0, 0).data(NewsListModel::IdRole).toString(), u"ecb"_s);
        QCOMPARE(filteredInserted.count(), 1);
        filtered.setFilterText(QString());
        QCOMPARE(filtered.count(), 2);
    }
};

QTEST_MAIN(TestNewsListModel)
#include "tst_newslistmodel.moc"
