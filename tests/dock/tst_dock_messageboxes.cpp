// SPDX-License-Identifier: GPL-2.0-or-later
// A message box of the dock runs everything else beneath it, also the dock's own end.
#include "dockfixture.h"
#include "testkit/udpport.h"

#include <QApplication>
#include <QCheckBox>
#include <QPushButton>
#include <QTest>
#include <QTextEdit>
#include <QTimer>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

// Far beyond what a loaded machine needs.
constexpr int patienceMs = 30000;

} // namespace

class TestDockMessageBoxes : public QObject
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

    void dockMayDieWhileAMessageBoxIsOpen_data()
    {
        QTest::addColumn<bool>("portTaken"); // otherwise there is no scene
        QTest::addColumn<bool>("repair");    // otherwise start
        QTest::newRow("start without a scene") << false << false;
        QTest::newRow("start on a taken port") << true << false;
        QTest::newRow("repair without a scene") << false << true;
    }
    void dockMayDieWhileAMessageBoxIsOpen()
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
        // As the user does it: the click's own event handling must survive as well.
        if (repair) {
            fixture->dock->createOrRepairSource();
        } else {
            probe.startButton()->click();
        }
        QCOMPARE(fixture->boxes.shown().size(), 1);
        QVERIFY(!fixture->dock);
        QCOMPARE(QApplication::activeModalWidget(), nullptr);
    }

    void dockMayDieUnderTheMessageBoxOfTheAutomaticStart()
    {
        QUdpSocket other;
        QVERIFY2(occupy(other, 5000), qPrintable(other.errorString()));
        fixture->boxes.answerWith([this](QMessageBox &) { fixture->dock.reset(); });
        fixture->build();
        QTRY_COMPARE_WITH_TIMEOUT(fixture->boxes.shown().size(), 1, patienceMs);
        QTRY_VERIFY_WITH_TIMEOUT(!QApplication::activeModalWidget(), patienceMs);
        QVERIFY(!fixture->dock);
    }

    void dockMayDieUnderTwoMessageBoxes()
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

    void messageBoxOfTheAutomaticStartLetsEverythingElseRun()
    {
        QUdpSocket other;
        QVERIFY2(occupy(other, 5000), qPrintable(other.errorString()));
        bool othersRan = false;
        QPointer<QMessageBox> open;
        fixture->boxes.answerWith([&](QMessageBox &box) {
            // What OBS has still to do at its start comes by timers, queued calls and sockets: all of it runs beneath
            // the box, and so does the dock's own log.
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
        QVERIFY(fixture->boxes.shown().isEmpty()); // never while OBS still waits for the module to load
        QTRY_VERIFY_WITH_TIMEOUT(othersRan && !open, patienceMs);
        QVERIFY(probe.logView()->toPlainText().endsWith(u"läuft"_s));
    }

    void repairsMessageBoxDoesNotHoldBackTheReceiversStart()
    {
        // The user repairs the source before the automatic start is due.
        ObsDouble::setCurrentScene(ObsDouble::CurrentScene::None);
        const DockProbe probe = fixture->build(); // receiver start due
        QTimer::singleShot(0, fixture->dock.get(), &TarvolineDock::createOrRepairSource);
        bool startedBelowTheBox = false;
        fixture->boxes.answerWith([&](QMessageBox &box) {
            startedBelowTheBox =
                QTest::qWaitFor([&] { return probe.engine().isRunning(); }, QDeadlineTimer(patienceMs));
            MessageBoxes::press(box, QMessageBox::Ok);
        });
        QTRY_VERIFY_WITH_TIMEOUT(!fixture->boxes.shown().isEmpty() && !QApplication::activeModalWidget(), patienceMs);
        QVERIFY(startedBelowTheBox);
    }

private:
    std::optional<DockFixture> fixture;
};

QTEST_MAIN(TestDockMessageBoxes)
#include "tst_dock_messageboxes.moc"
