// SPDX-License-Identifier: GPL-2.0-or-later
// The module's entry points: load, unload, failed registration.
#include "testkit/dockprobe.h"
#include "testkit/messageboxes.h"
#include "testkit/obsdouble.h"
#include "testkit/settingsstore.h"
#include "testkit/timelimits.h"
#include "testkit/udpport.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <optional>

using namespace Qt::StringLiterals;

MODULE_EXPORT void obs_module_set_pointer(obs_module_t *module);
MODULE_EXPORT uint32_t obs_module_ver();

namespace {

const ObsDouble::LogLine loadLine{300, u"[Tarvoline SRTLA] Plugin 0.9.2 wird geladen"_s};
const ObsDouble::LogLine failureLine{100, u"[Tarvoline SRTLA] Dock konnte nicht hinzugefügt werden"_s};
const ObsDouble::LogLine unloadLine{300, u"[Tarvoline SRTLA] Plugin sicher entladen"_s};

using LogLines = QList<ObsDouble::LogLine>;

obs_module_t *testHandle()
{
    static int object = 0;
    return reinterpret_cast<obs_module_t *>(&object);
}

} // namespace

class TestModule : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void apiVersionIsThatOfTheOldestSupportedObs();
    void descriptionIsFixed();
    void moduleHandleIsStored();
    void loadRegistersTheDock();
    void unloadShutsDownAndRemovesTheDock();
    void dockIsShutDownBeforeItsRemoval();
    void dockIsDestroyedBeforeTheModuleIsUnloaded();
    void obsQuitsDuringAMessageBox();
    void moduleIsUnloadedDuringAMessageBox();
    void secondUnloadOnlyLogs();
    void unloadWithoutLoadOnlyLogs();
    void failedRegistrationLeavesNoDockAndNoPort();
    void loadAfterAFailedLoadWorks();
    void loadWithoutAFrontendFails();

private:
    std::optional<SettingsStore> store;
    std::optional<MessageBoxes> boxes;
};

void TestModule::init()
{
    ObsDouble::reset();
    store.emplace();
    store->set(u"autoStart"_s, false);
    store->set(u"autoSource"_s, false);
    boxes.emplace();
}

void TestModule::cleanup()
{
    obs_module_set_pointer(nullptr);
    QCOMPARE(ObsDouble::openReferences(), 0);
    QCOMPARE(ObsDouble::misuses(), QStringList());
    ObsDouble::quitFrontend();
    boxes.reset();
    store.reset();
}

void TestModule::apiVersionIsThatOfTheOldestSupportedObs()
{
    QCOMPARE(obs_module_ver(), uint32_t(0x1F010001));
}

void TestModule::descriptionIsFixed()
{
    QCOMPARE(QString::fromUtf8(obs_module_description()),
             u"Native Tarvoline SRTLA receiver integration for OBS Studio"_s);
}

void TestModule::moduleHandleIsStored()
{
    QCOMPARE(obs_current_module(), nullptr);
    obs_module_set_pointer(testHandle());
    QCOMPARE(obs_current_module(), testHandle());
}

void TestModule::loadRegistersTheDock()
{
    QVERIFY(obs_module_load());
    QCOMPARE(ObsDouble::logLines(), LogLines{loadLine});
    QCOMPARE(ObsDouble::docks().size(), 1);
    const ObsDouble::RegisteredDock dock = ObsDouble::docks().first();
    QCOMPARE(dock.id, u"tarvoline-srtla-dock"_s);
    QCOMPARE(dock.title, u"Tarvoline SRTLA Receiver"_s);
    QVERIFY(qobject_cast<TarvolineDock *>(dock.widget));
    obs_module_unload();
}

void TestModule::unloadShutsDownAndRemovesTheDock()
{
    QVERIFY(obs_module_load());
    const QPointer<TarvolineDock> dock = qobject_cast<TarvolineDock *>(ObsDouble::docks().first().widget);
    dock->startReceiver();
    QVERIFY(!portIsFree(5000));
    obs_module_unload();
    QVERIFY(!dock);
    QVERIFY(portIsFree(5000));
    QVERIFY(ObsDouble::docks().isEmpty());
    QCOMPARE(ObsDouble::calls().last(), u"obs_frontend_remove_dock"_s);
    QCOMPARE(ObsDouble::logLines(), (LogLines{loadLine, unloadLine}));
}

// The front end may still process events for the dock while it removes the dock.
void TestModule::dockIsShutDownBeforeItsRemoval()
{
    QVERIFY(obs_module_load());
    int removals = 0;
    ObsDouble::onDockRemoval([&removals](QWidget *widget) {
        ++removals;
        auto *dock = qobject_cast<TarvolineDock *>(widget);
        QVERIFY(dock);
        const DockProbe probe(*dock);
        QVERIFY(portIsFree(5000));
        QVERIFY(!probe.engine().isRunning());

        // The engine's signals must be disconnected.
        QCOMPARE(probe.statusLabel()->text(), u"Aktiv"_s);
        Q_EMIT probe.engine().runningChanged(false);
        QCOMPARE(probe.statusLabel()->text(), u"Aktiv"_s);

        const QString hint = probe.ipHintLabel()->text();
        probe.queryIpButton()->click();
        QVERIFY(probe.queryIpButton()->isEnabled());
        QCOMPARE(probe.ipHintLabel()->text(), hint);
    });
    qobject_cast<TarvolineDock *>(ObsDouble::docks().first().widget)->startReceiver();
    QVERIFY(!portIsFree(5000));
    obs_module_unload();
    QCOMPARE(removals, 1);
}

void TestModule::dockIsDestroyedBeforeTheModuleIsUnloaded()
{
    QVERIFY(obs_module_load());
    const QPointer<TarvolineDock> dock = qobject_cast<TarvolineDock *>(ObsDouble::docks().first().widget);
    dock->startReceiver();
    ObsDouble::quitFrontend();
    QVERIFY(!dock);
    QVERIFY(portIsFree(5000));
    ObsDouble::clearCalls();
    obs_module_unload();
    QCOMPARE(ObsDouble::calls(), QStringList());
    QCOMPARE(ObsDouble::logLines(), (LogLines{loadLine, unloadLine}));
}

void TestModule::obsQuitsDuringAMessageBox()
{
    QVERIFY(obs_module_load());
    ObsDouble::setCurrentScene(ObsDouble::CurrentScene::None);
    boxes->answerWith([](QMessageBox &) {
        ObsDouble::quitFrontend();
        obs_module_unload();
    });
    qobject_cast<TarvolineDock *>(ObsDouble::docks().first().widget)->createOrRepairSource();
    QCOMPARE(boxes->shown().size(), 1);
    QCOMPARE(ObsDouble::logLines(), (LogLines{loadLine, unloadLine}));
}

void TestModule::moduleIsUnloadedDuringAMessageBox()
{
    QVERIFY(obs_module_load());
    const QPointer<TarvolineDock> dock = qobject_cast<TarvolineDock *>(ObsDouble::docks().first().widget);
    ObsDouble::setCurrentScene(ObsDouble::CurrentScene::None);
    boxes->answerWith([](QMessageBox &) { obs_module_unload(); });
    dock->createOrRepairSource();
    QVERIFY(!dock);
    QCOMPARE(ObsDouble::logLines(), (LogLines{loadLine, unloadLine}));
}

void TestModule::secondUnloadOnlyLogs()
{
    QVERIFY(obs_module_load());
    obs_module_unload();
    ObsDouble::clearCalls();
    obs_module_unload();
    QCOMPARE(ObsDouble::calls(), QStringList());
    QCOMPARE(ObsDouble::logLines(), (LogLines{loadLine, unloadLine, unloadLine}));
}

void TestModule::unloadWithoutLoadOnlyLogs()
{
    obs_module_unload();
    QCOMPARE(ObsDouble::calls(), QStringList());
    QCOMPARE(ObsDouble::logLines(), LogLines{unloadLine});
}

void TestModule::failedRegistrationLeavesNoDockAndNoPort()
{
    store->set(u"autoStart"_s, true);
    ObsDouble::failDockRegistration(true);
    QVERIFY(!obs_module_load());
    QCOMPARE(ObsDouble::logLines(), (LogLines{loadLine, failureLine}));
    for (const QWidget *widget : QApplication::allWidgets()) {
        QVERIFY(!qobject_cast<const TarvolineDock *>(widget));
    }
    // Its automatic start is cancelled.
    bool passed = false;
    QTimer::singleShot(beyondStartDelaysMs, qApp, [&passed] { passed = true; });
    QTRY_VERIFY_WITH_TIMEOUT(passed, waitMs);
    QVERIFY(portIsFree(5000));
    ObsDouble::clearCalls();

    obs_module_unload();
    QCOMPARE(ObsDouble::calls(), QStringList());
    QCOMPARE(ObsDouble::logLines(), (LogLines{loadLine, failureLine, unloadLine}));
}

void TestModule::loadAfterAFailedLoadWorks()
{
    ObsDouble::failDockRegistration(true);
    QVERIFY(!obs_module_load());
    ObsDouble::failDockRegistration(false);
    QVERIFY(obs_module_load());
    QCOMPARE(ObsDouble::docks().size(), 1);
    obs_module_unload();
}

void TestModule::loadWithoutAFrontendFails()
{
    ObsDouble::quitFrontend();
    QVERIFY(!obs_module_load());
    QCOMPARE(ObsDouble::logLines(), (LogLines{loadLine, failureLine}));
}

QTEST_MAIN(TestModule)
#include "tst_module.moc"
