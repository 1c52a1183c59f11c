// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "dockfixture.h"
#include "testkit/timelimits.h"

#include <QTest>
#include <QTimer>

#include <optional>

/// Base of the test classes whose functions each get a new fixture. Checks after each function that no libobs object
/// leaked or was used after its release.
class DockTest : public QObject
{
    Q_OBJECT

protected Q_SLOTS:
    virtual void init() { fixture.emplace(); }
    virtual void cleanup()
    {
        QCOMPARE(ObsDouble::openReferences(), 0);
        QCOMPARE(ObsDouble::misuses(), QStringList());
        fixture.reset();
    }

protected:
    /// Runs the event loop until each timer that the dock has started would have fired.
    static void waitBeyondStartDelays()
    {
        bool isOver = false;
        QObject scope; // the timer ends with the variable
        QTimer::singleShot(beyondStartDelaysMs, &scope, [&isOver] { isOver = true; });
        QTRY_VERIFY_WITH_TIMEOUT(isOver, waitMs);
    }

    std::optional<DockFixture> fixture;
};

/// Base of the test classes whose functions each get a new dock that neither repairs the source nor starts by itself.
class QuietDockTest : public DockTest
{
    Q_OBJECT

protected Q_SLOTS:
    void init() override
    {
        DockTest::init();
        probe.emplace(fixture->buildQuiet());
    }
    void cleanup() override
    {
        probe.reset();
        DockTest::cleanup();
    }

protected:
    std::optional<DockProbe> probe;
};
