// SPDX-License-Identifier: GPL-2.0-or-later
// Construction, automatic start, shutdown and destruction of the dock.
#include "docktest.h"
#include "testkit/udpport.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTextEdit>

using namespace Qt::StringLiterals;

namespace {

const QString sourceName = u"Tarvoline SRTLA"_s;

} // namespace

class TestDockLifecycle : public DockTest
{
    Q_OBJECT

private Q_SLOTS:
    void firstStartShowsTheRunningReceiver();
    void automaticRepairDoesNotStartTheReceiver();
    void nothingStartsWithBothSwitchesOff();
    void switchingAutoStartOffAfterLoadingDoesNotStopTheTimer();
    void automaticRepairWithoutASceneShowsItsWarning();
    void dockDestroyedBeforeTheTimersFireStartsNothing();
    void repairTimerEndsWithTheDock();
    void shutdownDisconnectsTheEngine();
    void shutdownTwiceAndDestructionAreSafe();
    void destructionWithoutShutdownClosesThePort();
    void queuedCallsEndWithTheDock();
    void destructionWithFocusInAnEditIsSafe();
    void secondDockBindsThePortOfTheFirst();
};

void TestDockLifecycle::firstStartShowsTheRunningReceiver()
{
    const DockProbe probe = fixture->build();
    QVERIFY(!probe.engine().isRunning());
    QCOMPARE(probe.statusLabel()->text(), u"Inaktiv"_s);
    QTRY_VERIFY_WITH_TIMEOUT(probe.engine().isRunning(), waitMs);
    QCOMPARE(probe.statusLabel()->text(), u"Aktiv"_s);
}

void TestDockLifecycle::automaticRepairDoesNotStartTheReceiver()
{
    fixture->store.set(u"autoStart"_s, false);
    fixture->store.set(u"autoSource"_s, true);
    const DockProbe probe = fixture->build();
    QTRY_VERIFY_WITH_TIMEOUT(ObsDouble::hasSource(sourceName), waitMs);
    waitBeyondStartDelays();
    QVERIFY(!probe.engine().isRunning());
}

void TestDockLifecycle::nothingStartsWithBothSwitchesOff()
{
    const DockProbe probe = fixture->buildQuiet();
    waitBeyondStartDelays();
    QVERIFY(!probe.engine().isRunning());
    QVERIFY(ObsDouble::calls().isEmpty());
}

void TestDockLifecycle::switchingAutoStartOffAfterLoadingDoesNotStopTheTimer()
{
    const DockProbe probe = fixture->build();
    probe.autoStartCheck()->setChecked(false);
    QTRY_VERIFY_WITH_TIMEOUT(probe.engine().isRunning(), waitMs);
}

void TestDockLifecycle::automaticRepairWithoutASceneShowsItsWarning()
{
    ObsDouble::setCurrentScene(ObsDouble::CurrentScene::None);
    fixture->store.set(u"autoStart"_s, false);
    fixture->store.set(u"autoSource"_s, true);
    fixture->build();
    QTRY_COMPARE_WITH_TIMEOUT(fixture->boxes.shown().size(), 1, waitMs);
    QCOMPARE(fixture->boxes.shown().first().title, u"Quelle konnte nicht erstellt werden"_s);
}

void TestDockLifecycle::dockDestroyedBeforeTheTimersFireStartsNothing()
{
    fixture->build();
    fixture->dock.reset();
    waitBeyondStartDelays();
    QVERIFY(portIsFree(5000));
    QVERIFY(ObsDouble::calls().isEmpty());
    QVERIFY(fixture->boxes.shown().isEmpty());
}

void TestDockLifecycle::repairTimerEndsWithTheDock()
{
    fixture->store.set(u"autoStart"_s, false);
    fixture->store.set(u"autoSource"_s, true);
    fixture->build();
    fixture->dock.reset();
    waitBeyondStartDelays();
    QVERIFY(ObsDouble::calls().isEmpty());
}

void TestDockLifecycle::shutdownDisconnectsTheEngine()
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

void TestDockLifecycle::shutdownTwiceAndDestructionAreSafe()
{
    const DockProbe probe = fixture->buildQuiet();
    fixture->dock->startReceiver();
    fixture->dock->shutdown();
    fixture->dock->shutdown();
    QVERIFY(probe.unloading());
    fixture->dock.reset();
    QVERIFY(portIsFree(5000));
}

void TestDockLifecycle::destructionWithoutShutdownClosesThePort()
{
    const DockProbe probe = fixture->buildQuiet();
    fixture->dock->startReceiver();
    QVERIFY(probe.engine().isRunning());
    fixture->dock.reset();
    QVERIFY(portIsFree(5000));
}

void TestDockLifecycle::queuedCallsEndWithTheDock()
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

void TestDockLifecycle::destructionWithFocusInAnEditIsSafe()
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

void TestDockLifecycle::secondDockBindsThePortOfTheFirst()
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

QTEST_MAIN(TestDockLifecycle)
#include "tst_dock_lifecycle.moc"
