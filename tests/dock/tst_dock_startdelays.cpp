// SPDX-License-Identifier: GPL-2.0-or-later
// Delays of the automatic source repair and receiver start. The test starts timers before and after the dock's: timers
// fire in the order of their deadlines, even on a loaded machine.
#include "docktest.h"

#include <QTest>
#include <QTimer>

#include <chrono>
#include <functional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// Above the timer resolution of Windows.
constexpr std::chrono::milliseconds leeway = 20ms;

bool sourceExists()
{
    return ObsDouble::hasSource(u"Tarvoline SRTLA"_s);
}

} // namespace

class TestDockStartDelays : public DockTest
{
    Q_OBJECT

private Q_SLOTS:
    void theSourceIsRepairedAfter400Ms();
    void theReceiverIsStartedAfter800Ms();

private:
    bool receiverRuns() const { return DockProbe(*fixture->dock).engine().isRunning(); }

    /// Builds the dock; \a hasHappened must become true between two timers of \a delay, started before and after the
    /// dock's construction.
    void happensAfter(std::chrono::milliseconds delay, const std::function<bool()> &hasHappened);
};

void TestDockStartDelays::theSourceIsRepairedAfter400Ms()
{
    fixture->store.set(u"autoStart"_s, false);
    fixture->store.set(u"autoSource"_s, true);
    happensAfter(400ms, sourceExists);
    QVERIFY(!receiverRuns());
}

void TestDockStartDelays::theReceiverIsStartedAfter800Ms()
{
    fixture->store.set(u"autoStart"_s, true);
    happensAfter(800ms, [this] { return receiverRuns(); });
    // The repair is switched off during loading.
    QVERIFY(!sourceExists());
}

void TestDockStartDelays::happensAfter(std::chrono::milliseconds delay, const std::function<bool()> &hasHappened)
{
    bool before = false;
    bool after = false;
    bool passed = false;
    QObject scope; // no timer outlives the variables
    QTimer::singleShot(delay, Qt::PreciseTimer, &scope, [&] { before = hasHappened(); });
    fixture->build();
    QTimer::singleShot(delay + leeway, Qt::PreciseTimer, &scope, [&] {
        after = hasHappened();
        passed = true;
    });
    QTRY_VERIFY_WITH_TIMEOUT(passed, waitMs);
    QVERIFY2(!before, "too early");
    QVERIFY2(after, "too late");
}

QTEST_MAIN(TestDockStartDelays)
#include "tst_dock_startdelays.moc"
