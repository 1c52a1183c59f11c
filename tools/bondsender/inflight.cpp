// SPDX-License-Identifier: GPL-2.0-or-later
#include "inflight.h"

#include <algorithm>

namespace bondsender {

void InFlight::add(std::uint32_t sequence, TimePoint sent)
{
    packets.push_back({sequence, sent});
}

bool InFlight::take(std::uint32_t sequence)
{
    const auto found = std::ranges::find(packets, sequence, &Packet::sequence);
    if (found == packets.end()) {
        return false;
    }
    packets.erase(found);
    return true;
}

std::size_t InFlight::take(const SequenceRange &range)
{
    return std::erase_if(packets, [&range](const Packet &packet) {
        return !sequenceBefore(packet.sequence, range.first) && !sequenceBefore(range.last, packet.sequence);
    });
}

std::size_t InFlight::takeBefore(std::uint32_t sequence)
{
    return std::erase_if(packets,
                         [sequence](const Packet &packet) { return sequenceBefore(packet.sequence, sequence); });
}

std::size_t InFlight::takeOlderThan(TimePoint time)
{
    return std::erase_if(packets, [time](const Packet &packet) { return packet.sent < time; });
}

} // namespace bondsender
