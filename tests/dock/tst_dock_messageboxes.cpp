// SPDX-License-Identifier: GPL-2.0-or-later
// Nested event loops of the dock's message boxes, in which the dock may be destroyed.
#include "docktest.h"
#include "testkit/udpport.h"

#include <QApplication>
#include <QCheckBox>
#include <QPushButton>
#include <QTest>
#include <QTextEdit>
#include <QTimer>

using namespace Qt::StringLiterals;

class TestDockMessageBoxes : public DockTest
{
    Q_OBJECT

private Q_SLOTS:
    void dockMayBeDestroyedWhileAMessageBoxIsOpen_data();
    void dockMayBeDestroyedWhileAMessageBoxIsOpen();
    void dockMayBeDestroyedDuringTheMessageBoxOfTheAutomaticStart();
    void dockMayBeDestroyedDuringNestedMessageBoxes();
    void messageBoxOfTheAutomaticStartRunsTheEventLoop();
    void messageBoxOfTheRepairDoesNotDelayTheAutomaticStart();
};

void TestDockMessageBoxes::dockMayBeDestroyedWhileAMessageBoxIsOpen_data()
{
    QTest::addColumn<bool>("portTaken"); // false: no scene
    QTest::addColumn<bool>("repair");    // false: start
    QTest::newRow("start without a scene") << false << false;
    QTest::newRow("start on a taken port") << true << false;
    QTest::newRow("repair without a scene") << false << true;
}

void TestDockMessageBoxes::dockMayBeDestroyedWhileAMessageBoxIsOpen()
{
    QFETCH(bool, portTaken);
    QFETCH(bool, repair);
    const DockProbe probe = fixture->buildQuiet();
    QUdpSocket other;
    if (portTaken) {
        QVERIFY2(occupy(other, 5000), qPrintable(other.errorString()));
    } else {
        ObsDouble::setCurrentScene(ObsDouble::CurrentScene::None);
        probe.autoSourceCheck()->setChecked(true);
    }
    fixture->boxes.answerWith([this](QMessageBox &) { fixture->dock.reset(); });
    if (repair) {
        fixture->dock->createOrRepairSource();
    } else {
        // A click, because the button's event handling continues after the dock's destruction.
        probe.startButton()->click();
    }
    QCOMPARE(fixture->boxes.shown().size(), 1);
    QVERIFY(!fixture->dock);
    QCOMPARE(QApplication::activeModalWidget(), nullptr);
}

void TestDockMessageBoxes::dockMayBeDestroyedDuringTheMessageBoxOfTheAutomaticStart()
{
    QUdpSocket other;
    QVERIFY2(occupy(other, 5000), qPrintable(other.errorString()));
    fixture->boxes.answerWith([this](QMessageBox &) { fixture->dock.reset(); });
    fixture->build();
    QTRY_COMPARE_WITH_TIMEOUT(fixture->boxes.shown().size(), 1, waitMs);
    QTRY_VERIFY_WITH_TIMEOUT(!QApplication::activeModalWidget(), waitMs);
    QVERIFY(!fixture->dock);
}

void TestDockMessageBoxes::dockMayBeDestroyedDuringNestedMessageBoxes()
{
    ObsDouble::setCurrentScene(ObsDouble::CurrentScene::None);
    const DockProbe probe = fixture->buildQuiet();
    probe.autoSourceCheck()->setChecked(true);
    fixture->boxes.answerWith([this](QMessageBox &) {
        if (fixture->boxes.shown().size() < 2) {
            fixture->dock->startReceiver();
        } else {
            fixture->dock.reset();
        }
    });
    fixture->dock->createOrRepairSource();
    QCOMPARE(fixture->boxes.shown().size(), 2);
    QVERIFY(!fixture->dock);
    QCOMPARE(QApplication::activeModalWidget(), nullptr);
}

void TestDockMessageBoxes::messageBoxOfTheAutomaticStartRunsTheEventLoop()
{
    QUdpSocket other;
    QVERIFY2(occupy(other, 5000), qPrintable(other.errorString()));
    bool othersRan = false;
    QPointer<QMessageBox> open;
    fixture->boxes.answerWith([&](QMessageBox &box) {
        // Timers and queued calls of OBS's start-up run in the message box's event loop, and so does the dock's log.
        open = &box;
        QTimer::singleShot(0, qApp, [&] {
            QMetaObject::invokeMethod(
                qApp,
                [&] {
                    fixture->dock->appendLog(u"läuft"_s);
                    othersRan = true;
                    MessageBoxes::press(*open, QMessageBox::Ok);
                },
                Qt::QueuedConnection);
        });
    });
    const DockProbe probe = fixture->build();
    QVERIFY(fixture->boxes.shown().isEmpty()); // not before the module is loaded
    QTRY_VERIFY_WITH_TIMEOUT(othersRan && !open, waitMs);
    QVERIFY(probe.logView()->toPlainText().endsWith(u"läuft"_s));
}

void TestDockMessageBoxes::messageBoxOfTheRepairDoesNotDelayTheAutomaticStart()
{
    // The source is repaired before the automatic start is due.
    ObsDouble::setCurrentScene(ObsDouble::CurrentScene::None);
    const DockProbe probe = fixture->build(); // schedules the automatic start
    QTimer::singleShot(0, fixture->dock.get(), &TarvolineDock::createOrRepairSource);
    bool startedDuringTheBox = false;
    fixture->boxes.answerWith([&](QMessageBox &box) {
        startedDuringTheBox = QTest::qWaitFor([&] { return probe.engine().isRunning(); }, QDeadlineTimer(waitMs));
        MessageBoxes::press(box, QMessageBox::Ok);
    });
    QTRY_VERIFY_WITH_TIMEOUT(!fixture->boxes.shown().isEmpty() && !QApplication::activeModalWidget(), waitMs);
    QVERIFY(startedDuringTheBox);
}

QTEST_MAIN(TestDockMessageBoxes)
#include "tst_dock_messageboxes.moc"
