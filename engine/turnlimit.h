// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QtTypes>

#include <optional>

/// Bounds what the engine does in one turn of the event loop: the thread also serves a user interface. What is left
/// waits for the next turn.
class TurnLimit
{
public:
    /// Two of these fit between two pictures of a display with 50 Hz.
    static constexpr qint64 longestTurnMs = 10;

    /// To be called before each step. \a nowMs is called at every 16th step only, and time counts from the first of
    /// these: an ordinary turn need not look at the clock, and every turn gets somewhere.
    template<typename Clock> [[nodiscard]] bool isOver(const Clock &nowMs)
    {
        constexpr int stepsBetweenLooks = 16;
        if (++steps % stepsBetweenLooks != 0) {
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
