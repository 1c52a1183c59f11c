// SPDX-License-Identifier: GPL-2.0-or-later
// Keyboard focus when controls are disabled. Key events are sent to the window, which passes them to the focus widget,
// as for a real keyboard.
#include "docktest.h"
#include "namedcontrol.h"
#include "testkit/jsonservice.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QThreadPool>
#include <QWindow>

using namespace Qt::StringLiterals;

class TestDockFocus : public QuietDockTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() override;
    void cleanup() override;

    void secondSpaceStopsTheStartedReceiver();
    void focusStaysOnAnotherControlWhenTheReceiverStartsAndStops();
    void focusMovesInAnInactiveWindow();
    void keysPressedDuringTheQueryHaveNoEffect();
    void focusReturnsWithTheResponse_data();
    void focusReturnsWithTheResponse();
    void focusMovedByTheUserDuringTheQueryStays();
    void queryWithoutFocusDoesNotTakeIt();

private:
    QPushButton *button(const QString &name) { return control<QPushButton>(*fixture->dock, name); }
    void press(Qt::Key key) { QTest::keyClick(fixture->dock->windowHandle(), key); }
    void startQueryWithSpace();
    void releaseResponse();
};

void TestDockFocus::initTestCase()
{
    QVERIFY2(JsonService::port(u"vendor"_s) != 0, "run this test through testkit/withjsonservice.py");
}

void TestDockFocus::init()
{
    QuietDockTest::init();
    fixture->dock->show();
    fixture->dock->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(fixture->dock.get()));
    JsonService::answerProbesAs(u"/hold"_s);
    JsonService::hold();
}

void TestDockFocus::cleanup()
{
    JsonService::release();
    QVERIFY(QThreadPool::globalInstance()->waitForDone(waitMs));
    QuietDockTest::cleanup();
}

void TestDockFocus::secondSpaceStopsTheStartedReceiver()
{
    button(u"Start"_s)->setFocus();
    press(Qt::Key_Space);
    QVERIFY(probe->engine().isRunning());
    QCOMPARE(QApplication::focusWidget(), button(u"Stopp"_s));
    press(Qt::Key_Space);
    QVERIFY(!probe->engine().isRunning());
    QCOMPARE(QApplication::focusWidget(), button(u"Start"_s));
    QVERIFY(!ObsDouble::hasSource(u"Tarvoline SRTLA"_s));
}

void TestDockFocus::focusStaysOnAnotherControlWhenTheReceiverStartsAndStops()
{
    auto *edit = control<QLineEdit>(*fixture->dock, u"Stream-ID"_s);
    edit->setFocus();
    fixture->dock->startReceiver();
    QCOMPARE(QApplication::focusWidget(), edit);
    fixture->dock->stopReceiver();
    QCOMPARE(QApplication::focusWidget(), edit);
}

void TestDockFocus::focusMovesInAnInactiveWindow()
{
    button(u"Start"_s)->setFocus();
    QWidget other;
    other.show();
    other.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&other));
    fixture->dock->startReceiver();
    QCOMPARE(fixture->dock->focusWidget(), button(u"Stopp"_s));
}

void TestDockFocus::startQueryWithSpace()
{
    button(u"IP ermitteln"_s)->setFocus();
    press(Qt::Key_Space);
    QVERIFY(!button(u"IP ermitteln"_s)->isEnabled());
}

void TestDockFocus::releaseResponse()
{
    JsonService::release();
    QTRY_VERIFY_WITH_TIMEOUT(button(u"IP ermitteln"_s)->isEnabled(), waitMs);
}

void TestDockFocus::keysPressedDuringTheQueryHaveNoEffect()
{
    startQueryWithSpace();
    for (const Qt::Key key : {Qt::Key_X, Qt::Key_Space, Qt::Key_Return, Qt::Key_Delete}) {
        press(key);
    }
    QCOMPARE(probe->streamIdEdit()->text(), u"live"_s);
    QCOMPARE(probe->publicHostEdit()->text(), QString());
    QVERIFY(!probe->engine().isRunning());
    press(Qt::Key_Tab); // from the hint label, which has the focus
    QCOMPARE(QApplication::focusWidget(), probe->streamIdEdit());
}

void TestDockFocus::focusReturnsWithTheResponse_data()
{
    QTest::addColumn<bool>("known");
    QTest::newRow("an address") << true;
    QTest::newRow("a failure") << false;
}

void TestDockFocus::focusReturnsWithTheResponse()
{
    QFETCH(bool, known);
    startQueryWithSpace();
    probe->handlePublicIpReply({{u"ok"_s, known}, {u"ip"_s, u"192.0.2.7"_s}}, 200);
    QCOMPARE(QApplication::focusWidget(), button(u"IP ermitteln"_s));
    releaseResponse();
    QCOMPARE(QApplication::focusWidget(), button(u"IP ermitteln"_s));
}

void TestDockFocus::focusMovedByTheUserDuringTheQueryStays()
{
    startQueryWithSpace();
    press(Qt::Key_Tab);
    press(Qt::Key_Tab);
    QCOMPARE(QApplication::focusWidget(), probe->passwordEdit());
    releaseResponse();
    QCOMPARE(QApplication::focusWidget(), probe->passwordEdit());
}

void TestDockFocus::queryWithoutFocusDoesNotTakeIt()
{
    probe->passwordEdit()->setFocus();
    fixture->dock->queryPublicIp();
    QCOMPARE(QApplication::focusWidget(), probe->passwordEdit());
    releaseResponse();
    QCOMPARE(QApplication::focusWidget(), probe->passwordEdit());
}

QTEST_MAIN(TestDockFocus)
#include "tst_dock_focus.moc"
