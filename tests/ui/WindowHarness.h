#pragma once

// The main window loaded from the Kalvo QML module against a real AppState
// with a hand-driven clock, offscreen. Include once per test executable: it
// imports the module's static plugin.

#include "UiSupport.h"
#include "app/AppState.h"
#include "core/Clock.h"
#include "core/Endpoints.h"

#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTest>
#include <QtQuickTest/quicktest.h>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(KalvoPlugin)

namespace test {

class WindowHarness
{
public:
    explicit WindowHarness(const QDateTime &now) : clock(now), state(clock)
    {
        useTemporaryDataDir();
        state.setSoundPlayer([](const QString &) {});
        // Nothing listens there, so no service ever reaches the network.
        state.setEndpoints(kalvo::Endpoints::fromJson(
            R"({"base":"http://127.0.0.1:9","backend":"http://127.0.0.1:9/f"})", nullptr));
    }

    // Loads the window and waits until the start-up it asks for has run.
    bool load()
    {
        QSignalSpy started(&state, &kalvo::AppState::started);
        engine.addImportPath(u"qrc:/qt/qml"_s);
        engine.setInitialProperties({{u"appState"_s, QVariant::fromValue(&state)}, {u"monoFamily"_s, u"DejaVu Sans Mono"_s}});
        engine.load(QUrl(u"qrc:/qt/qml/Kalvo/Main.qml"_s));
        if (engine.rootObjects().isEmpty())
            return false;
        window = qobject_cast<QQuickWindow *>(engine.rootObjects().constFirst());
        if (!window || !started.wait(5000))
            return false;
        // Tests look at end states; the slide of the detail panel would only delay them.
        item(u"centerColumn"_s)->setProperty("animated", false);
        return QTest::qWaitForWindowExposed(window);
    }

    // Lets pending layouts run (lists build their rows then), as before a frame.
    void settle() const
    {
        if (QQuickTest::qIsPolishScheduled(window))
            QQuickTest::qWaitForPolish(window);
    }

    // The first item named `objectName` in the visual tree under `root`
    // (the whole window by default), or null.
    QQuickItem *item(const QString &objectName, QQuickItem *root = nullptr) const
    {
        settle();
        return find(objectName, root ? root : window->contentItem());
    }

    static QQuickItem *find(const QString &objectName, QQuickItem *start)
    {
        if (start->objectName() == objectName)
            return start;
        for (QQuickItem *child : start->childItems()) {
            if (QQuickItem *found = find(objectName, child))
                return found;
        }
        return nullptr;
    }

    QObject *object(const QString &objectName) const { return window->findChild<QObject *>(objectName); }

    QString text(const QString &objectName, QQuickItem *root = nullptr) const
    {
        QQuickItem *found = item(objectName, root);
        return found ? found->property("text").toString() : u"<no %1>"_s.arg(objectName);
    }

    QColor color(const QString &objectName, QQuickItem *root = nullptr) const
    {
        QQuickItem *found = item(objectName, root);
        return found ? found->property("color").value<QColor>() : QColor();
    }

    // Visible as a user sees it: the item and every item above it.
    static bool shown(const QQuickItem *item)
    {
        for (; item; item = item->parentItem()) {
            if (!item->isVisible() || item->opacity() == 0)
                return false;
        }
        return true;
    }

    // The item named `objectName` exists and is shown. A closed sheet's items
    // leave the window, so "not found" counts as "not shown".
    bool shows(const QString &objectName, QQuickItem *root = nullptr) const
    {
        const QQuickItem *found = item(objectName, root);
        return found && shown(found);
    }

    // Every item exists and each starts below the one before it.
    static bool topToBottom(const QList<QQuickItem *> &items)
    {
        for (qsizetype i = 0; i < items.size(); ++i) {
            if (!items[i] || (i > 0 && items[i - 1]->mapToScene({0, 0}).y() >= items[i]->mapToScene({0, 0}).y()))
                return false;
        }
        return true;
    }

    QPoint centreOf(const QQuickItem *item) const
    {
        return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
    }

    // False when there is no such item to click.
    [[nodiscard]] bool click(const QQuickItem *item) const
    {
        if (!item)
            return false;
        QTest::mouseClick(window, Qt::LeftButton, Qt::NoModifier, centreOf(item));
        return true;
    }

    kalvo::ManualClock clock;
    kalvo::AppState state;
    QQmlApplicationEngine engine;
    QQuickWindow *window = nullptr;
};

} // namespace test
