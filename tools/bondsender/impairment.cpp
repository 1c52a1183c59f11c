// SPDX-License-Identifier: GPL-2.0-or-later
#include "impairment.h"

#include <algorithm>
#include <utility>

namespace bondsender {
namespace {

constexpr std::uint64_t microsecondsPerSecond = 1'000'000;

} // namespace

bool ImpairedPath::isCut(TimePoint now) const
{
    return streamStart && std::ranges::any_of(impairment.cuts, [this, now](const Cut &cut) {
               return now >= *streamStart + cut.from && (!cut.until || now < *streamStart + *cut.until);
           });
}

void ImpairedPath::push(Bytes datagram, TimePoint now)
{
    if (isCut(now)) {
        ++count.cut;
        return;
    }
    if (chance(impairment.loss)) {
        ++count.lost;
        return;
    }
    TimePoint departure = now;
    if (impairment.bitsPerSecond != 0) {
        freeAgain = std::max(freeAgain, now);
        if (freeAgain - now > longestBacklog) {
            ++count.overflowed;
            return;
        }
        freeAgain += Microseconds(datagram.size() * bitsPerByte * microsecondsPerSecond / impairment.bitsPerSecond);
        departure = freeAgain;
    }
    if (chance(impairment.duplicate)) {
        ++count.duplicated;
        enqueue(datagram, departure);
    }
    enqueue(std::move(datagram), departure);
}

std::optional<Bytes> ImpairedPath::pop(TimePoint now)
{
    while (!underWay.empty() && underWay.begin()->first <= now) {
        auto first = underWay.extract(underWay.begin());
        if (!isCut(first.key())) {
            return std::move(first.mapped());
        }
        ++count.cut;
    }
    return std::nullopt;
}

std::optional<TimePoint> ImpairedPath::nextDue() const
{
    return underWay.empty() ? std::nullopt : std::optional(underWay.begin()->first);
}

bool ImpairedPath::chance(double share)
{
    return share > 0 && std::uniform_real_distribution<double>(0, 1)(random) < share;
}

void ImpairedPath::enqueue(Bytes datagram, TimePoint departure)
{
    Microseconds transitTime = impairment.delay;
    if (impairment.jitter.count() > 0) {
        transitTime += Microseconds(std::uniform_int_distribution<std::int64_t>(0, impairment.jitter.count())(random));
    }
    underWay.emplace(departure + transitTime, std::move(datagram));
}

} // namespace bondsender
