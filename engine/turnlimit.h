// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QtTypes>

#include <optional>

/// Limits the time that the engine spends in one event loop iteration: the thread also serves the user interface. The
/// remaining work is done in the next iteration.
class TurnLimit
{
public:
    /// Half of the frame time of a display with 50 Hz.
    static constexpr qint64 longestTurnMs = 10;

    /// Call before each step. Reads the clock \a nowMs at every 16th step only, and measures from the first reading:
    /// an iteration of few steps never reads the clock, and each iteration makes progress.
    template<typename Clock> [[nodiscard]] bool isOver(const Clock &nowMs)
    {
        constexpr int stepsPerClockRead = 16;
        if (++steps % stepsPerClockRead != 0) {
            return false;
        }
        const qint64 now = nowMs();
        if (!startedMs) {
            startedMs = now;
        }
        return now - *startedMs >= longestTurnMs;
    }

private:
    std::optional<qint64> startedMs;
    int steps = 0;
};
