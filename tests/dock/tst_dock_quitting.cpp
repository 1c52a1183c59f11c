// SPDX-License-Identifier: GPL-2.0-or-later
// OBS quits in the first second, before the dock's automatic start.
#include "dockfixture.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDockWidget>
#include <QLabel>
#include <QMainWindow>
#include <QTest>
#include <QTimer>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

// Longer than both of the dock's timers.
constexpr int beyondTheTimersMs = 1200;
// Far beyond what a loaded machine needs.
constexpr int patienceMs = 30000;

const QString sourceName = u"Tarvoline SRTLA"_s;

void waitBeyondTheDocksTimers()
{
    bool passed = false;
    QTimer::singleShot(beyondTheTimersMs, qApp, [&passed] { passed = true; });
    QTRY_VERIFY_WITH_TIMEOUT(passed, patienceMs);
}

/// A main window that lets itself be closed, or not. The dock in it belongs to the fixture.
class MainWindow : public QMainWindow
{
public:
    explicit MainWindow(bool letsClose, bool floating = false) : accepts(letsClose), frame(new QDockWidget(this))
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

class TestDockQuitting : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QApplication::setQuitOnLastWindowClosed(false); }
    void init() { fixture.emplace(); }
    void cleanup() { fixture.reset(); }

    void timersDoNothingOnceTheMainWindowIsClosed_data()
    {
        QTest::addColumn<QString>("automatic");
        QTest::addColumn<bool>("floating");
        QTest::addColumn<bool>("accepted");
        for (const QString &automatic : {u"autoSource"_s, u"autoStart"_s}) {
            QTest::addRow("%s, docked", qPrintable(automatic)) << automatic << false << true;
            QTest::addRow("%s, floating", qPrintable(automatic)) << automatic << true << true;
            QTest::addRow("%s, the window refuses", qPrintable(automatic)) << automatic << false << false;
        }
    }

    void timersDoNothingOnceTheMainWindowIsClosed()
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
        waitBeyondTheDocksTimers();
        QCOMPARE(ObsDouble::hasSource(sourceName), !accepted && automatic == "autoSource"_L1);
        QCOMPARE(probe.engine().isRunning(), !accepted && automatic == "autoStart"_L1);
        QVERIFY(fixture->boxes.shown().isEmpty());
    }

    void aWindowThatOnlyHidesStopsNothing()
    {
        const DockProbe probe = fixture->build();
        MainWindow window(true);
        window.setDock(fixture->dock.get());
        window.show();
        window.hide();
        QTRY_VERIFY_WITH_TIMEOUT(probe.engine().isRunning(), patienceMs);
    }

    void closingTheFloatingDockStopsNothing()
    {
        const DockProbe probe = fixture->build();
        MainWindow window(true, true);
        window.setDock(fixture->dock.get());
        window.show();
        window.dockFrame()->close();
        QTRY_VERIFY_WITH_TIMEOUT(probe.engine().isRunning(), patienceMs);
    }

    void timersDoNothingAfterShutdown()
    {
        const DockProbe probe = fixture->build();
        fixture->dock->shutdown();
        waitBeyondTheDocksTimers();
        QVERIFY(!probe.engine().isRunning());
        QCOMPARE(probe.statusLabel()->text(), u"Inaktiv"_s);
        QVERIFY(fixture->boxes.shown().isEmpty());
    }

private:
    std::optional<DockFixture> fixture;
};

QTEST_MAIN(TestDockQuitting)
#include "tst_dock_quitting.moc"
