// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "clock.h"
#include "packets.h"

#include <deque>

namespace bondsender {

/// The data packets that one link has sent and that nobody has acknowledged yet, oldest first.
class InFlight
{
public:
    void add(std::uint32_t sequence, TimePoint sent);
    /// Takes the oldest packet \a sequence out; returns whether there was one.
    bool take(std::uint32_t sequence);
    /// Takes out what \a range names; returns how many that were.
    std::size_t take(const SequenceRange &range);
    /// Takes out everything before \a sequence; returns how many that were.
    std::size_t takeBefore(std::uint32_t sequence);
    /// Takes out what was sent before \a time; returns how many that were.
    std::size_t takeOlderThan(TimePoint time);
    void clear() { packets.clear(); }
    [[nodiscard]] std::size_t size() const { return packets.size(); }

private:
    struct Packet
    {
        std::uint32_t sequence = 0;
        TimePoint sent;
    };
    std::deque<Packet> packets;
};

} // namespace bondsender
