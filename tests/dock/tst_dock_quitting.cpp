// SPDX-License-Identifier: GPL-2.0-or-later
// OBS is closed within the first second, before the automatic start.
#include "docktest.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDockWidget>
#include <QLabel>
#include <QMainWindow>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString sourceName = u"Tarvoline SRTLA"_s;

/// A main window that accepts or rejects close events. The dock in it is owned by the fixture.
class MainWindow : public QMainWindow
{
public:
    explicit MainWindow(bool acceptsClose, bool floating = false) : accepts(acceptsClose), frame(new QDockWidget(this))
    {
        addDockWidget(Qt::RightDockWidgetArea, frame);
        frame->setFloating(floating);
    }
    ~MainWindow() override
    {
        if (frame->widget()) {
            frame->widget()->setParent(nullptr);
        }
    }
    Q_DISABLE_COPY_MOVE(MainWindow)

    void setDock(TarvolineDock *dock) { frame->setWidget(dock); }
    [[nodiscard]] QDockWidget *dockFrame() const { return frame; }

protected:
    void closeEvent(QCloseEvent *event) override { event->setAccepted(accepts); }

private:
    bool accepts;
    QDockWidget *frame;
};

} // namespace

class TestDockQuitting : public DockTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void timersDoNothingOnceTheMainWindowIsClosed_data();
    void timersDoNothingOnceTheMainWindowIsClosed();
    void hiddenWindowDoesNotStopTheTimers();
    void closedFloatingDockDoesNotStopTheTimers();
    void timersDoNothingAfterShutdown();
};

void TestDockQuitting::initTestCase()
{
    // The test closes its only window.
    QApplication::setQuitOnLastWindowClosed(false);
}

void TestDockQuitting::timersDoNothingOnceTheMainWindowIsClosed_data()
{
    QTest::addColumn<QString>("automatic");
    QTest::addColumn<bool>("floating");
    QTest::addColumn<bool>("accepted");
    for (const QString &automatic : {u"autoSource"_s, u"autoStart"_s}) {
        QTest::addRow("%s, docked", qPrintable(automatic)) << automatic << false << true;
        QTest::addRow("%s, floating", qPrintable(automatic)) << automatic << true << true;
        QTest::addRow("%s, close rejected", qPrintable(automatic)) << automatic << false << false;
    }
}

void TestDockQuitting::timersDoNothingOnceTheMainWindowIsClosed()
{
    QFETCH(QString, automatic);
    QFETCH(bool, floating);
    QFETCH(bool, accepted);
    fixture->switchAutomaticsOff();
    fixture->store.set(automatic, true);
    const DockProbe probe = fixture->build();
    MainWindow window(accepted, floating);
    window.setDock(fixture->dock.get());
    window.show();
    QCOMPARE(window.close(), accepted);
    waitBeyondStartDelays();
    QCOMPARE(ObsDouble::hasSource(sourceName), !accepted && automatic == "autoSource"_L1);
    QCOMPARE(probe.engine().isRunning(), !accepted && automatic == "autoStart"_L1);
    QVERIFY(fixture->boxes.shown().isEmpty());
}

void TestDockQuitting::hiddenWindowDoesNotStopTheTimers()
{
    const DockProbe probe = fixture->build();
    MainWindow window(true);
    window.setDock(fixture->dock.get());
    window.show();
    window.hide();
    QTRY_VERIFY_WITH_TIMEOUT(probe.engine().isRunning(), waitMs);
}

void TestDockQuitting::closedFloatingDockDoesNotStopTheTimers()
{
    const DockProbe probe = fixture->build();
    MainWindow window(true, true);
    window.setDock(fixture->dock.get());
    window.show();
    window.dockFrame()->close();
    QTRY_VERIFY_WITH_TIMEOUT(probe.engine().isRunning(), waitMs);
}

void TestDockQuitting::timersDoNothingAfterShutdown()
{
    const DockProbe probe = fixture->build();
    fixture->dock->shutdown();
    waitBeyondStartDelays();
    QVERIFY(!probe.engine().isRunning());
    QCOMPARE(probe.statusLabel()->text(), u"Inaktiv"_s);
    QVERIFY(fixture->boxes.shown().isEmpty());
}

QTEST_MAIN(TestDockQuitting)
#include "tst_dock_quitting.moc"
