// The settings sheet against a real AppState: its working copy, the save to
// the data folder, and the AI settings that take effect without a restart.

#include "../WindowHarness.h"

#include "../../ai/ScriptedBackend.h"
#include "ai/BackendToken.h"
#include "ai/ClaudeService.h"
#include "ui/controls/Theme.h"
#include "ui/settings/AiStatus.h"
#include "ui/settings/SettingsDraft.h"

#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>

using namespace kalvo;
using namespace std::chrono_literals;

Q_DECLARE_METATYPE(std::optional<bool>)

namespace {

const QDateTime wednesday = test::utc(2025, 3, 5, 13, 7);

// Mode 0600. The *User flags say what the running user may do, not the mode.
bool privateFile(const QString &path)
{
    const QFileDevice::Permissions user = QFileDevice::ReadUser | QFileDevice::WriteUser | QFileDevice::ExeUser;
    return QFileInfo(path).isFile()
           && (QFileInfo(path).permissions() & ~user) == (QFileDevice::ReadOwner | QFileDevice::WriteOwner);
}

QString dataFile(const QString &name)
{
    return test::useTemporaryDataDir() + u'/' + name;
}

} // namespace

class TestSettingsSheet : public QObject
{
    Q_OBJECT

    static bool sheetOpen(const test::WindowHarness &h)
    {
        QObject *sheet = h.object(u"settingsSheet"_s);
        return sheet && sheet->property("opened").toBool();
    }

    static SettingsDraft *open(test::WindowHarness &h)
    {
        h.state.setProperty("showSettings", true);
        if (!QTest::qWaitFor([&] { return sheetOpen(h); }))
            return nullptr;
        return qobject_cast<SettingsDraft *>(h.object(u"settingsDraft"_s));
    }

    // Scrolls the sheet until the item is in view, then clicks it.
    [[nodiscard]] static bool clickInSheet(test::WindowHarness &h, const QString &name, QQuickItem *root = nullptr)
    {
        QQuickItem *target = h.item(name, root);
        auto *scroll = qobject_cast<QQuickItem *>(h.object(u"settingsScroll"_s));
        if (!target || !scroll)
            return false;
        auto *content = scroll->property("contentItem").value<QQuickItem *>();
        const qreal top = target->mapToItem(content, QPointF(0, 0)).y();
        const qreal end = std::max(0.0, scroll->property("contentHeight").toReal() - scroll->height());
        scroll->setProperty("contentY", std::clamp(top - 40, 0.0, end));
        return h.click(target);
    }

    static QString stepperValue(test::WindowHarness &h, const QString &stepper)
    {
        return h.text(u"stepperValue"_s, h.item(stepper));
    }

private slots:
    void init()
    {
        // Every window of this suite starts from an empty data folder.
        for (const QString &name : {u"config.json"_s, u"endpoints.json"_s, u"backend_token"_s})
            QFile::remove(dataFile(name));
        qunsetenv("KALVO_BACKEND_TOKEN");
    }

    void listFieldsSplit_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QStringList>("saved");
        QTest::newRow("empty piece between commas dropped") << u"EUR/USD,,GBP/USD"_s
                                                            << QStringList{u"EUR/USD"_s, u"GBP/USD"_s};
        QTest::newRow("blank after the last comma kept empty") << u"EUR/USD, "_s << QStringList{u"EUR/USD"_s, QString()};
        QTest::newRow("case, duplicates and order as typed")
            << u"usd/jpy, EUR/USD,EUR/USD"_s << QStringList{u"usd/jpy"_s, u"EUR/USD"_s, u"EUR/USD"_s};
        QTest::newRow("blanks and tabs trimmed") << u" \tDXY\t , XAU/USD "_s << QStringList{u"DXY"_s, u"XAU/USD"_s};
        QTest::newRow("no-break space is a blank") << u"\u00a0DXY"_s << QStringList{u"DXY"_s};
        QTest::newRow("line breaks stay") << u"EUR/USD,\nGBP/USD\n"_s << QStringList{u"EUR/USD"_s, u"\nGBP/USD\n"_s};
        QTest::newRow("nothing typed") << QString() << QStringList();
    }
    void listFieldsSplit()
    {
        QFETCH(QString, typed);
        QTEST(SettingsDraft::splitList(typed), "saved");
    }

    // The steppers move the working copy only, one step per click, inside their range.
    void steppersHoldTheirRange_data()
    {
        QTest::addColumn<QString>("stepper");
        QTest::addColumn<qint64>("seconds");
        QTest::addColumn<double>("score");
        QTest::addColumn<int>("clicks"); // up when positive
        QTest::addColumn<QString>("shown");
        const QString price = u"priceRefreshStepper"_s, alert = u"alertScoreStepper"_s;
        QTest::newRow("price up") << price << qint64(15) << 7.0 << 2 << u"25s"_s;
        QTest::newRow("price not above 120") << price << qint64(110) << 7.0 << 3 << u"120s"_s;
        QTest::newRow("price not below 5") << price << qint64(15) << 7.0 << -4 << u"5s"_s;
        QTest::newRow("score up") << alert << qint64(15) << 7.0 << 1 << u"8"_s;
        QTest::newRow("score not above 10") << alert << qint64(15) << 9.0 << 3 << u"10"_s;
        QTest::newRow("score not below 1") << alert << qint64(15) << 2.0 << -2 << u"1"_s;
    }
    void steppersHoldTheirRange()
    {
        QFETCH(QString, stepper);
        QFETCH(qint64, seconds);
        QFETCH(double, score);
        QFETCH(int, clicks);
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        Config config;
        config.priceRefreshSeconds = seconds;
        config.alertMinScore = score;
        h.state.setConfig(config);
        QVERIFY(open(h));
        for (int i = 0; i < std::abs(clicks); ++i)
            QVERIFY(clickInSheet(h, clicks > 0 ? u"stepUp"_s : u"stepDown"_s, h.item(stepper)));
        QTEST(stepperValue(h, stepper), "shown");
        QVERIFY(h.state.config() == config);
    }

    // Edits of every kind, a preview of the edited sound, then "Schließen":
    // nothing reaches the app or the disk, and the next opening starts afresh.
    void closingWithoutSavingDiscards()
    {
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        const Config before = h.state.config();
        SettingsDraft *draft = open(h);
        QVERIFY(draft);
        const QPointer<SettingsDraft> first(draft);
        QStringList played;
        draft->setSoundPlayer([&](const QString &name) { played << name; });

        QVERIFY(h.click(h.item(u"pairsField"_s)));
        QTest::keyClick(h.window, Qt::Key_End);
        for (const char key : QByteArrayView(", AUD/USD"))
            QTest::keyClick(h.window, key);
        QCOMPARE(draft->pairsText(), u"EUR/USD, GBP/USD, USD/JPY, AUD/USD"_s);
        QVERIFY(clickInSheet(h, u"stepUp"_s, h.item(u"priceRefreshStepper"_s)));
        draft->setNewsSoundHighImpact(u"Glass"_s); // what picking it from the menu does
        draft->setClaudeKeyText(u"sk-ant-typed"_s);
        QVERIFY(clickInSheet(h, u"soundPlay"_s, h.item(u"highImpactSound"_s)));
        QVERIFY(clickInSheet(h, u"soundPlay"_s, h.item(u"normalSound"_s)));
        QCOMPARE(played, (QStringList{u"Glass"_s, u"Ping"_s}));

        QVERIFY(h.click(h.item(u"settingsClose"_s)));
        QTRY_VERIFY(!sheetOpen(h));
        QCOMPARE(h.state.property("showSettings").toBool(), false);
        QVERIFY(h.state.config() == before);
        QVERIFY(!QFileInfo::exists(dataFile(u"config.json"_s)));

        QTRY_VERIFY(first.isNull()); // the closed sheet's view is gone with its working copy
        SettingsDraft *again = open(h);
        QVERIFY(again);
        QCOMPARE(h.text(u"pairsField"_s), u"EUR/USD, GBP/USD, USD/JPY"_s);
        QCOMPARE(stepperValue(h, u"priceRefreshStepper"_s), u"15s"_s);
        QVERIFY(again->draftConfig() == before);
    }

    // "Speichern" hands the working copy to the app at once and writes it in
    // the background, every file for the owner only; the confirmation stays
    // three seconds after each save. A shared backend's address joins the
    // endpoints file, its token the token file; the token field stays empty
    // and keeps the stored token until something is typed.
    void saveTakesEffectAtOnceAndLands()
    {
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        QFile endpoints(Endpoints::userFilePath());
        QVERIFY(endpoints.open(QIODevice::WriteOnly));
        endpoints.write(compactJson({{"base", "http://127.0.0.1:9"}}));
        endpoints.close();
        SettingsDraft *draft = open(h);
        QVERIFY(draft);
        draft->setPairsText(u"EUR/USD,,GBP/USD"_s);
        draft->setExtrasText(u"DXY, "_s);
        draft->setClaudeKeyText(u" sk-ant-\r\n123 \n"_s); // pasted with a wrap
        draft->setNewsSoundNormal(u"Tink"_s);
        QVERIFY(clickInSheet(h, u"stepUp"_s, h.item(u"alertScoreStepper"_s)));
        draft->setBackendText(u"ftp://ai.example.org"_s);
        QVERIFY(h.shows(u"backendInvalid"_s));
        draft->setBackendText(u" https://ai.example.org/_functions "_s);
        QVERIFY(!h.shows(u"backendInvalid"_s));
        draft->setTokenText(u"  team-token\n"_s);
        QVERIFY(!h.shows(u"savedText"_s));

        QSignalSpy written(draft, &SettingsDraft::written);
        QVERIFY(clickInSheet(h, u"saveButton"_s));
        Config expected;
        expected.marketPairs = {u"EUR/USD"_s, u"GBP/USD"_s};
        expected.marketExtras = {u"DXY"_s, QString()};
        expected.claudeApiKey = u"sk-ant-123"_s;
        expected.newsSoundNormal = u"Tink"_s;
        expected.alertMinScore = 8;
        QVERIFY(h.state.config() == expected);
        QVERIFY(h.shows(u"savedText"_s));
        QCOMPARE(h.text(u"savedText"_s), u"✓ Gespeichert — App neu starten für alle Änderungen"_s);
        QCOMPARE(h.color(u"savedText"_s), Theme::green());

        QTRY_COMPARE(written.size(), 1);
        QCOMPARE(written.constFirst().constFirst().toBool(), true);
        QVERIFY(ConfigFiles::load() == expected);
        QCOMPARE(h.text(u"configPath"_s), ConfigFiles::userPath());
        QCOMPARE(Endpoints::backendIn(Endpoints::userFilePath()), u"https://ai.example.org/_functions"_s);
        QStringList problems;
        QCOMPARE(Endpoints::fromFile(Endpoints::userFilePath(), &problems).url(u"feed.bbc_business"_s),
                 u"http://127.0.0.1:9/news/business/rss.xml"_s);
        QVERIFY(problems.isEmpty());
        for (const QString &file : {ConfigFiles::userPath(), Endpoints::userFilePath(), BackendToken::filePath()})
            QVERIFY2(privateFile(file), qPrintable(file));
        QCOMPARE(BackendToken::read(), std::optional<QString>(u"team-token"_s));
        QCOMPARE(draft->tokenText(), QString());
        QVERIFY(draft->tokenStored());

        // A second save a second before the first one's three seconds are up:
        // the first one's reset still hides the text. The empty token field
        // keeps the token.
        h.clock.advance(2s);
        QVERIFY(h.shows(u"savedText"_s));
        QVERIFY(clickInSheet(h, u"saveButton"_s));
        h.clock.advance(1s);
        QVERIFY(!h.shows(u"savedText"_s));
        h.clock.advance(2s);
        QVERIFY(!h.shows(u"savedText"_s));
        QTRY_COMPARE(written.size(), 2);
        QCOMPARE(BackendToken::read(), std::optional<QString>(u"team-token"_s));

        // A data folder that cannot be made: no message, the app has the values anyway.
        QTemporaryDir dir;
        QFile blocker(dir.filePath(u"file"_s));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        qputenv("KALVO_DATA_DIR", blocker.fileName().toUtf8() + "/Kalvo");
        const auto restore = qScopeGuard([] { test::useTemporaryDataDir(); });
        draft->setPairsText(u"NZD/USD"_s);
        QVERIFY(clickInSheet(h, u"saveButton"_s));
        QCOMPARE(h.state.config().marketPairs, QStringList{u"NZD/USD"_s});
        QVERIFY(h.shows(u"savedText"_s));
        QTRY_COMPARE(written.size(), 3);
        QCOMPARE(written.constLast().constFirst().toBool(), false);
    }

    // The whole way from a typed key to an answering AI, without a restart:
    // the key is saved, the app re-routes its client and probes it as at the
    // start, and "Verbindung testen" learns whether the backend speaks.
    void aTypedKeyTurnsTheAiOn()
    {
        test::ScriptedBackend backend;
        qputenv("KALVO_BACKEND_TOKEN", "token-for-the-test");
        test::WindowHarness h(wednesday);
        // Stands for main()'s choice: with a Claude key in the settings file the AI is reached.
        h.state.setAiRouter([url = backend.base()] {
            const bool keyed = !ConfigFiles::load().claudeApiKey.isEmpty();
            return keyed ? AiRoute{AiRoute::Kind::Shared, url, std::nullopt, {}} : AiRoute{};
        });
        QVERIFY(h.load());
        SettingsDraft *draft = open(h);
        QVERIFY(draft);
        QQuickItem *claude = h.item(u"claudeStatus"_s);
        QCOMPARE(h.text(u"line"_s, claude), u"Claude API: nicht eingerichtet — Schlüssel unter KI-BACKEND eintragen"_s);
        QCOMPARE(h.color(u"dot"_s, claude), Theme::red());

        backend.script(test::ScriptedBackend::modelPath, {test::ScriptedBackend::modelText(u"pong"_s)});
        draft->setClaudeKeyText(u"sk-ant-live\n"_s);
        QVERIFY(clickInSheet(h, u"saveButton"_s));
        QTRY_COMPARE(h.state.aiModel(), ClaudeService::fallbackModels().constFirst());
        QCOMPARE(h.state.status(), u"✓ Claude bereit (sonnet-4-5)"_s);
        QCOMPARE(h.text(u"line"_s, claude), u"Claude API: verbunden über "_s + AiStatus::backendName(backend.base()));
        QCOMPARE(h.color(u"dot"_s, claude), Theme::green());
        QCOMPARE(h.text(u"line"_s, h.item(u"modelStatus"_s)), u"Aktives Modell: claude-sonnet-4-5"_s);
        QCOMPARE(h.text(u"line"_s, h.item(u"speechStatus"_s)), u"Sprachausgabe: ungeprüft — „Verbindung testen“ prüft sie"_s);

        backend.script(test::ScriptedBackend::modelPath, {test::ScriptedBackend::modelText(u"pong"_s)});
        backend.script(test::ScriptedBackend::speechPath,
                       {test::ScriptedBackend::envelope({{"ok", true}, {"audioBase64", "SUQz"}})});
        QVERIFY(clickInSheet(h, u"testConnection"_s));
        QTRY_COMPARE(h.text(u"testResult"_s), u"✓ Claude antwortet (sonnet-4-5) · Sprache ✓"_s);
        QCOMPARE(h.text(u"line"_s, h.item(u"speechStatus"_s)), u"Sprachausgabe: verfügbar"_s);
        QCOMPARE(h.color(u"dot"_s, h.item(u"speechStatus"_s)), Theme::blue());
        QCOMPARE(backend.bodies(test::ScriptedBackend::speechPath).size(), 1);

        // Removing the key routes the AI away again; the probe finds nothing.
        draft->setClaudeKeyText(QString());
        QVERIFY(clickInSheet(h, u"saveButton"_s));
        QTRY_COMPARE(h.state.aiCheck(), AppState::AiCheck::Unreachable);
        QCOMPARE(h.state.aiModel(), QString());
        QCOMPARE(h.text(u"line"_s, h.item(u"speechStatus"_s)), u"Sprachausgabe: nicht verfügbar"_s);
    }

    // What the status says for each way to the AI and each outcome of the probe.
    void aiStatusTellsWhatHolds_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("check");
        QTest::addColumn<std::optional<bool>>("speech");
        QTest::addColumn<bool>("openaiKey");
        QTest::addColumn<QString>("claudeText");
        QTest::addColumn<QColor>("claudeDot");
        QTest::addColumn<QString>("speechText");
        QTest::addColumn<QColor>("speechDot");
        using K = AiRoute::Kind;
        using C = AppState::AiCheck;
        QTest::newRow("still probing") << int(K::Default) << int(C::Checking) << std::optional<bool>() << false
                                       << u"Claude API: wird geprüft…"_s << Theme::textMuted()
                                       << u"Sprachausgabe: ungeprüft — „Verbindung testen“ prüft sie"_s
                                       << Theme::textMuted();
        QTest::newRow("own keys, both") << int(K::Embedded) << int(C::Answered) << std::optional<bool>(true) << true
                                        << u"Claude API: verbunden (eigener Schlüssel)"_s << Theme::green()
                                        << u"Sprachausgabe: verfügbar (OpenAI TTS)"_s << Theme::blue();
        QTest::newRow("own Claude key alone")
            << int(K::Embedded) << int(C::Answered) << std::optional<bool>(false) << false
            << u"Claude API: verbunden (eigener Schlüssel)"_s << Theme::green()
            << u"Sprachausgabe: nicht verfügbar — kein OpenAI-Schlüssel"_s << Theme::red();
        QTest::newRow("own key refused") << int(K::Embedded) << int(C::Unreachable) << std::optional<bool>(true)
                                         << true << u"Claude API: keine Antwort mit dem eigenen Schlüssel"_s
                                         << Theme::red() << u"Sprachausgabe: nicht verfügbar"_s << Theme::red();
        QTest::newRow("shared backend down") << int(K::Shared) << int(C::Unreachable) << std::optional<bool>() << false
                                             << u"Claude API: ai.example.org:8443 nicht erreichbar"_s << Theme::red()
                                             << u"Sprachausgabe: nicht verfügbar"_s << Theme::red();
        QTest::newRow("demo") << int(K::Demo) << int(C::Answered) << std::optional<bool>(true) << false
                              << u"Claude API: Demo (Offline-Analyst)"_s << Theme::green()
                              << u"Sprachausgabe: verfügbar (lokal)"_s << Theme::blue();
    }
    void aiStatusTellsWhatHolds()
    {
        QFETCH(int, kind);
        QFETCH(int, check);
        QFETCH(std::optional<bool>, speech);
        QFETCH(bool, openaiKey);
        const AiRoute route{AiRoute::Kind(kind), QUrl(u"https://ai.example.org:8443/_functions"_s), speech, {}};
        const AiStatus::Lines lines =
            AiStatus::linesFor(route, AppState::AiCheck(check), speech, QString(), openaiKey);
        QTEST(lines.claude.text, "claudeText");
        QTEST(lines.claude.dot, "claudeDot");
        QTEST(lines.speech.text, "speechText");
        QTEST(lines.speech.dot, "speechDot");
    }
};

QTEST_MAIN(TestSettingsSheet)
#include "tst_settingssheet.moc"
