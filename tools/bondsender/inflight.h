// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "clock.h"
#include "packets.h"

#include <deque>

namespace bondsender {

/// Unacknowledged data packets of one link, oldest first.
class InFlight
{
public:
    void add(std::uint32_t sequence, TimePoint sent);
    /// Removes the oldest packet \a sequence; returns whether there was one.
    bool take(std::uint32_t sequence);
    /// Removes the packets of \a range; returns their number.
    std::size_t take(const SequenceRange &range);
    /// Removes all packets before \a sequence; returns their number.
    std::size_t takeBefore(std::uint32_t sequence);
    /// Removes the packets sent before \a time; returns their number.
    std::size_t takeOlderThan(TimePoint time);
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
