// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "clock.h"
#include "packets.h"

#include <map>
#include <optional>
#include <random>
#include <vector>

namespace bondsender {

/// A time from which on a link carries nothing, and when it does again; counted from the start of the stream.
struct Cut
{
    Microseconds from{};
    std::optional<Microseconds> until; ///< nothing: it stays cut
    bool operator==(const Cut &) const = default;
};

/// What is wrong with a link, in each direction alike.
struct Impairment
{
    double loss = 0;                 ///< share of the datagrams that vanish, 0 to 1
    double duplicate = 0;            ///< share of the datagrams that arrive twice, 0 to 1
    Microseconds delay{};            ///< that every datagram is under way
    Microseconds jitter{};           ///< more delay, evenly spread up to this; datagrams can overtake one another
    std::uint64_t bitsPerSecond = 0; ///< 0: no limit
    std::vector<Cut> cuts;
    bool operator==(const Impairment &) const = default;
};

/// One direction of a link: datagrams go in and come out later, twice or never. Knows no socket and reads no clock.
class Road
{
public:
    struct Counters
    {
        std::uint64_t lost = 0;       ///< by the loss share
        std::uint64_t cut = 0;        ///< because the link was cut
        std::uint64_t overflowed = 0; ///< because more came than the rate limit let through
        std::uint64_t duplicated = 0;
    };

    /// What datagrams still wait for the rate limit is at most this long; the rest overflows, as in a modem.
    static constexpr Microseconds longestBacklog{250'000};

    Road(Impairment newImpairment, std::uint64_t seed) : impairment(std::move(newImpairment)), random(seed) {}

    /// From now on the times of the cuts count.
    void startStream(TimePoint now) { streamStart = now; }
    [[nodiscard]] bool isCut(TimePoint now) const;
    /// When isCut will change next, if ever.
    [[nodiscard]] std::optional<TimePoint> nextCutChange(TimePoint now) const;

    void push(Bytes datagram, TimePoint now);
    /// The next datagram that has arrived by \a now.
    [[nodiscard]] std::optional<Bytes> pop(TimePoint now);
    /// When the next datagram arrives.
    [[nodiscard]] std::optional<TimePoint> nextDue() const;
    [[nodiscard]] const Counters &counters() const { return count; }

private:
    [[nodiscard]] bool chance(double share);
    void enqueue(Bytes datagram, TimePoint departure);

    Impairment impairment;
    std::mt19937_64 random;
    std::optional<TimePoint> streamStart;
    TimePoint freeAgain; ///< when the rate limit lets the next datagram leave
    std::multimap<TimePoint, Bytes> underWay;
    Counters count;
};

} // namespace bondsender
