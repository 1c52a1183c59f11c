// SPDX-License-Identifier: GPL-2.0-or-later
// How long after its construction the dock repairs the source and starts the receiver. The test's own timers enclose
// the dock's: timers fire in the order in which they are due, however late a busy machine lets them.
#include "dockfixture.h"

#include <QTest>
#include <QTimer>

#include <chrono>
#include <functional>
#include <optional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// Above the resolution of Windows' timers, below any delay that a user could tell from the right one.
constexpr std::chrono::milliseconds leeway = 20ms;
// Far beyond what a loaded machine needs.
constexpr int patienceMs = 30000;

bool sourceExists()
{
    return ObsDouble::hasSource(u"Tarvoline SRTLA"_s);
}

} // namespace

class TestDockStartDelays : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { fixture.emplace(); }
    void cleanup() { fixture.reset(); }

    void theSourceIsRepairedAfter400Ms()
    {
        fixture->store.set(u"autoStart"_s, false);
        fixture->store.set(u"autoSource"_s, true);
        happensAfter(400ms, sourceExists);
        QVERIFY(!receiverRuns());
    }

    void theReceiverIsStartedAfter800Ms()
    {
        fixture->store.set(u"autoStart"_s, true);
        happensAfter(800ms, [this] { return receiverRuns(); });
        // Loading has switched the repair off.
        QVERIFY(!sourceExists());
    }

private:
    bool receiverRuns() const { return DockProbe(*fixture->dock).engine().isRunning(); }

    /// Builds the dock; \a hasHappened must turn true between two timers of \a delay, the first of which is set before
    /// the dock's and the second after it.
    void happensAfter(std::chrono::milliseconds delay, const std::function<bool()> &hasHappened)
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
        QTRY_VERIFY_WITH_TIMEOUT(passed, patienceMs);
        QVERIFY2(!before, "too early");
        QVERIFY2(after, "too late");
    }

    std::optional<DockFixture> fixture;
};

QTEST_MAIN(TestDockStartDelays)
#include "tst_dock_startdelays.moc"
