// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "clock.h"
#include "packets.h"

#include <map>
#include <optional>
#include <random>
#include <vector>

namespace bondsender {

inline constexpr int bitsPerByte = 8;

/// An interval in which a link drops all datagrams, relative to the start of the stream.
struct Cut
{
    Microseconds from{};
    std::optional<Microseconds> until; ///< empty: no end
    bool operator==(const Cut &) const = default;
};

/// Impairments of a link, the same in both directions.
struct Impairment
{
    double loss = 0;                 ///< share of lost datagrams, 0 to 1
    double duplicate = 0;            ///< share of duplicated datagrams, 0 to 1
    Microseconds delay{};            ///< of every datagram
    Microseconds jitter{};           ///< additional delay, uniformly distributed up to this; causes reordering
    std::uint64_t bitsPerSecond = 0; ///< 0: no limit
    std::vector<Cut> cuts;
    bool operator==(const Impairment &) const = default;
};

/// One direction of a link: delays, duplicates and drops datagrams. Uses no socket and no clock.
class ImpairedPath
{
public:
    struct Counters
    {
        std::uint64_t lost = 0;       ///< by the loss share
        std::uint64_t cut = 0;        ///< during a cut
        std::uint64_t overflowed = 0; ///< beyond the queue of the rate limit
        std::uint64_t duplicated = 0;
    };

    /// Maximum queue of the rate limit; further datagrams are dropped, as in a modem.
    static constexpr Microseconds longestBacklog{250'000};

    ImpairedPath(Impairment newImpairment, std::uint64_t seed) : impairment(std::move(newImpairment)), random(seed) {}

    /// Starts the time of the cuts.
    void startStream(TimePoint now) { streamStart = now; }
    [[nodiscard]] bool isCut(TimePoint now) const;

    void push(Bytes datagram, TimePoint now);
    /// The next datagram that has arrived by \a now.
    [[nodiscard]] std::optional<Bytes> pop(TimePoint now);
    /// Arrival time of the next datagram.
    [[nodiscard]] std::optional<TimePoint> nextDue() const;
    [[nodiscard]] const Counters &counters() const { return count; }

private:
    [[nodiscard]] bool chance(double share);
    void enqueue(Bytes datagram, TimePoint departure);

    Impairment impairment;
    std::mt19937_64 random;
    std::optional<TimePoint> streamStart;
    TimePoint freeAgain; ///< earliest departure of the next datagram with the rate limit
    std::multimap<TimePoint, Bytes> underWay;
    Counters count;
};

} // namespace bondsender
