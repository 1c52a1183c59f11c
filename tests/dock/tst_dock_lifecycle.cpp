// SPDX-License-Identifier: GPL-2.0-or-later
// Construction and end of the dock: automatic start, shutdown, and all that may outlive the dock.
#include "dockfixture.h"
#include "testkit/udpport.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTextEdit>
#include <QTimer>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr int startDelayMs = 800;
// Far beyond what a loaded machine needs.
constexpr int patienceMs = 30000;

const QString sourceName = u"Tarvoline SRTLA"_s;

// Runs the event loop until a timer that starts now with the dock's longest delay, and then some, has fired: by then
// any of the dock's own timers would have.
void waitBeyondTheDocksTimers()
{
    bool passed = false;
    QTimer::singleShot(startDelayMs + startDelayMs / 2, qApp, [&passed] { passed = true; });
    QTRY_VERIFY_WITH_TIMEOUT(passed, patienceMs);
}

} // namespace

class TestDockLifecycle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { fixture.emplace(); }
    void cleanup()
    {
        QCOMPARE(ObsDouble::openReferences(), 0);
        QCOMPARE(ObsDouble::misuses(), QStringList());
        fixture.reset();
    }

    void firstStartShowsTheRunningReceiver()
    {
        const DockProbe probe = fixture->build();
        QVERIFY(!probe.engine().isRunning());
        QCOMPARE(probe.statusLabel()->text(), u"Inaktiv"_s);
        QTRY_VERIFY_WITH_TIMEOUT(probe.engine().isRunning(), patienceMs);
        QCOMPARE(probe.statusLabel()->text(), u"Aktiv"_s);
    }

    void automaticRepairLeavesTheReceiverAlone()
    {
        fixture->store.set(u"autoStart"_s, false);
        fixture->store.set(u"autoSource"_s, true);
        const DockProbe probe = fixture->build();
        QTRY_VERIFY_WITH_TIMEOUT(ObsDouble::hasSource(sourceName), patienceMs);
        waitBeyondTheDocksTimers();
        QVERIFY(!probe.engine().isRunning());
    }

    void nothingHappensByItselfWithBothSwitchesOff()
    {
        const DockProbe probe = fixture->buildQuiet();
        waitBeyondTheDocksTimers();
        QVERIFY(!probe.engine().isRunning());
        QVERIFY(ObsDouble::calls().isEmpty());
    }

    void switchingAutoStartOffAfterLoadingDoesNotStopTheTimer()
    {
        const DockProbe probe = fixture->build();
        probe.autoStartCheck()->setChecked(false);
        QTRY_VERIFY_WITH_TIMEOUT(probe.engine().isRunning(), patienceMs);
    }

    void automaticRepairWithoutASceneShowsItsWarning()
    {
        ObsDouble::setCurrentScene(ObsDouble::CurrentScene::None);
        fixture->store.set(u"autoStart"_s, false);
        fixture->store.set(u"autoSource"_s, true);
        fixture->build();
        QTRY_COMPARE_WITH_TIMEOUT(fixture->boxes.shown().size(), 1, patienceMs);
        QCOMPARE(fixture->boxes.shown().first().title, u"Quelle konnte nicht erstellt werden"_s);
    }

    void dockDestroyedBeforeTheTimersFireStartsNothing()
    {
        fixture->build();
        fixture->dock.reset();
        waitBeyondTheDocksTimers();
        QVERIFY(portIsFree(5000));
        QVERIFY(ObsDouble::calls().isEmpty());
        QVERIFY(fixture->boxes.shown().isEmpty());
    }

    void repairTimerDiesWithTheDock()
    {
        fixture->store.set(u"autoStart"_s, false);
        fixture->store.set(u"autoSource"_s, true);
        fixture->build();
        fixture->dock.reset();
        waitBeyondTheDocksTimers();
        QVERIFY(ObsDouble::calls().isEmpty());
    }

    void shutdownAndDestructionBeforeTheTimersFire()
    {
        fixture->build();
        fixture->dock->shutdown();
        fixture->dock.reset();
        waitBeyondTheDocksTimers();
        QVERIFY(portIsFree(5000));
        QVERIFY(fixture->boxes.shown().isEmpty());
    }

    void shutdownCutsTheEngineOffFromThePanel()
    {
        const DockProbe probe = fixture->buildQuiet();
        fixture->dock->startReceiver();
        QCOMPARE(probe.statusLabel()->text(), u"Aktiv"_s);
        const QString log = probe.logView()->toPlainText();
        fixture->dock->shutdown();
        QVERIFY(probe.unloading());
        QVERIFY(!probe.engine().isRunning());
        QVERIFY(portIsFree(5000));
        Q_EMIT probe.engine().runningChanged(false);
        Q_EMIT probe.engine().statusChanged(u"UDP 1 konnte nicht geöffnet werden: x"_s);
        Q_EMIT probe.engine().logMessage(u"zu spät"_s);
        QCOMPARE(probe.statusLabel()->text(), u"Aktiv"_s);
        QVERIFY(!probe.startButton()->isEnabled());
        QCOMPARE(probe.logView()->toPlainText(), log);
    }

    void shutdownTwiceAndDestructionAfterItDoNoHarm()
    {
        const DockProbe probe = fixture->buildQuiet();
        fixture->dock->startReceiver();
        fixture->dock->shutdown();
        fixture->dock->shutdown();
        QVERIFY(probe.unloading());
        fixture->dock.reset();
        QVERIFY(portIsFree(5000));
    }

    void destructionWithoutShutdownClosesThePort()
    {
        const DockProbe probe = fixture->buildQuiet();
        fixture->dock->startReceiver();
        QVERIFY(probe.engine().isRunning());
        fixture->dock.reset();
        QVERIFY(portIsFree(5000));
    }

    void asksForNoPublicIpAfterShutdown()
    {
        const DockProbe probe = fixture->buildQuiet();
        fixture->dock->shutdown();
        const QString hint = probe.ipHintLabel()->text();
        fixture->dock->queryPublicIp();
        QVERIFY(probe.queryIpButton()->isEnabled());
        QCOMPARE(probe.ipHintLabel()->text(), hint);
    }

    void updateSlotsDoNothingWithoutANetworkManager()
    {
        const DockProbe probe = fixture->buildQuiet();
        fixture->dock->checkForUpdatesManually();
        fixture->dock->downloadAndInstallUpdate();
        QCOMPARE(probe.versionLabel()->text(), u"Installierte Version: 0.9.2"_s);
        QVERIFY(fixture->boxes.shown().isEmpty());
    }

    void queuedCallsDieWithTheDock()
    {
        fixture->buildQuiet();
        for (const char *slot : {"startReceiver", "stopReceiver", "createOrRepairSource", "saveSettings"}) {
            QVERIFY(QMetaObject::invokeMethod(fixture->dock.get(), slot, Qt::QueuedConnection));
        }
        fixture->dock.reset();
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        QVERIFY(portIsFree(5000));
        QVERIFY(ObsDouble::calls().isEmpty());
    }

    void focusInAnEditIsNoHarmWhenTheShownDockDies()
    {
        const DockProbe probe = fixture->buildQuiet();
        fixture->dock->show();
        fixture->dock->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(fixture->dock.get()));
        probe.publicHostEdit()->setFocus();
        QTest::keyClicks(probe.publicHostEdit(), u"halb"_s);
        fixture->dock.reset();
        QCOMPARE(fixture->store.value(u"publicHost"_s).toString(), QString());
    }

    void twoDocksOneAfterTheOtherTakeThePort()
    {
        fixture->buildQuiet();
        fixture->dock->startReceiver();
        fixture->dock->shutdown();
        fixture->dock.reset();
        const DockProbe probe = fixture->buildQuiet();
        fixture->dock->startReceiver();
        QVERIFY(probe.engine().isRunning());
        QVERIFY(fixture->boxes.shown().isEmpty());
    }

private:
    std::optional<DockFixture> fixture;
};

QTEST_MAIN(TestDockLifecycle)
#include "tst_dock_lifecycle.moc"
