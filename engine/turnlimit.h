// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QtTypes>

/// Bounds what the engine does in one turn of the event loop: the thread also serves a user interface. What is left
/// waits for the next turn.
class TurnLimit
{
public:
    /// Two of these fit between two pictures of a display with 50 Hz.
    static constexpr qint64 longestTurnMs = 10;

    /// \a nowMs is the time by the clock that isOver is asked with.
    explicit TurnLimit(qint64 nowMs) : startedMs(nowMs) {}

    /// To be called before each step. \a nowMs is called at every 16th step only: until then steps are cheaper than
    /// looking at the clock, and a turn always gets somewhere.
    template<typename Clock> [[nodiscard]] bool isOver(const Clock &nowMs)
    {
        constexpr int stepsBetweenLooks = 16;
        return ++steps % stepsBetweenLooks == 0 && nowMs() - startedMs >= longestTurnMs;
    }

private:
    qint64 startedMs;
    int steps = 0;
};
