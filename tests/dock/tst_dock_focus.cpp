// SPDX-License-Identifier: GPL-2.0-or-later
// Where the keyboard focus is while controls become unavailable under it. The keys travel as those of a keyboard do: to
// the window, and from there to the widget with the focus.
#include "dockfixture.h"
#include "namedcontrol.h"
#include "testkit/jsonservice.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QThreadPool>
#include <QWindow>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

// Far beyond what a loaded machine needs, and beyond the longest time-out of a request.
constexpr int patienceMs = 60000;

} // namespace

class TestDockFocus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(JsonService::port(u"vendor"_s) != 0, "to be run by withjsonservice.py"); }
    void init();
    void cleanup();

    void spacePressedAgainStopsWhatItStarted();
    void focusStaysOnAnotherControlWhenTheReceiverStartsAndStops();
    void windowInTheBackgroundPassesItsFocusToo();
    void keysPressedDuringTheQueryChangeNothing();
    void focusReturnsWithTheAnswer_data();
    void focusReturnsWithTheAnswer();
    void focusThatTheUserMovedDuringTheQueryStays();
    void queryWithoutTheFocusTakesNone();

private:
    QPushButton *button(const QString &name) { return control<QPushButton>(*fixture->dock, name); }
    void press(Qt::Key key) { QTest::keyClick(fixture->dock->windowHandle(), key); }
    void startQueryWithSpace();
    void answerQuery();

    std::optional<DockFixture> fixture;
    std::optional<DockProbe> probe;
};

void TestDockFocus::init()
{
    fixture.emplace();
    probe.emplace(fixture->buildQuiet());
    fixture->dock->show();
    fixture->dock->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(fixture->dock.get()));
    JsonService::answerProbesAs(u"/hold"_s);
    JsonService::hold();
}

void TestDockFocus::cleanup()
{
    JsonService::release();
    QVERIFY(QThreadPool::globalInstance()->waitForDone(patienceMs));
    probe.reset();
    fixture.reset();
}

void TestDockFocus::spacePressedAgainStopsWhatItStarted()
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

void TestDockFocus::windowInTheBackgroundPassesItsFocusToo()
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

void TestDockFocus::answerQuery()
{
    JsonService::release();
    QTRY_VERIFY_WITH_TIMEOUT(button(u"IP ermitteln"_s)->isEnabled(), patienceMs);
}

void TestDockFocus::keysPressedDuringTheQueryChangeNothing()
{
    startQueryWithSpace();
    for (const Qt::Key key : {Qt::Key_X, Qt::Key_Space, Qt::Key_Return, Qt::Key_Delete}) {
        press(key);
    }
    QCOMPARE(probe->streamIdEdit()->text(), u"live"_s);
    QCOMPARE(probe->publicHostEdit()->text(), QString());
    QVERIFY(!probe->engine().isRunning());
    press(Qt::Key_Tab); // from where the button stands
    QCOMPARE(QApplication::focusWidget(), probe->streamIdEdit());
}

void TestDockFocus::focusReturnsWithTheAnswer_data()
{
    QTest::addColumn<bool>("known");
    QTest::newRow("an address") << true;
    QTest::newRow("a failure") << false;
}

void TestDockFocus::focusReturnsWithTheAnswer()
{
    QFETCH(bool, known);
    startQueryWithSpace();
    probe->handlePublicIpReply({{u"ok"_s, known}, {u"ip"_s, u"192.0.2.7"_s}}, 200);
    QCOMPARE(QApplication::focusWidget(), button(u"IP ermitteln"_s));
    answerQuery();
    QCOMPARE(QApplication::focusWidget(), button(u"IP ermitteln"_s));
}

void TestDockFocus::focusThatTheUserMovedDuringTheQueryStays()
{
    startQueryWithSpace();
    press(Qt::Key_Tab);
    press(Qt::Key_Tab);
    QCOMPARE(QApplication::focusWidget(), probe->passwordEdit());
    answerQuery();
    QCOMPARE(QApplication::focusWidget(), probe->passwordEdit());
}

void TestDockFocus::queryWithoutTheFocusTakesNone()
{
    probe->passwordEdit()->setFocus();
    fixture->dock->queryPublicIp();
    QCOMPARE(QApplication::focusWidget(), probe->passwordEdit());
    answerQuery();
    QCOMPARE(QApplication::focusWidget(), probe->passwordEdit());
}

QTEST_MAIN(TestDockFocus)
#include "tst_dock_focus.moc"
