// SPDX-License-Identifier: GPL-2.0-or-later
#include "socketreserve.h"

#include <algorithm>

bool SocketReserve::take(qint64 nowMs)
{
    constexpr qint64 recountMs = 100;
    // The clock restarts with each session, so it may be behind the last count.
    if (!countedMs || nowMs < *countedMs || nowMs - *countedMs >= recountMs) {
        countedMs = nowMs;
        const std::optional<DescriptorUse> use = descriptorUse();
        left = use ? std::optional(room(*use)) : std::nullopt;
    }
    if (!left) {
        return true;
    }
    if (*left <= 0) {
        return false;
    }
    --*left;
    return true;
}

qint64 SocketReserve::room(const DescriptorUse &use)
{
    constexpr qint64 mostReserved = 256;
    constexpr qint64 reservedPart = 4; // a quarter
    return use.limit - std::min(mostReserved, use.limit / reservedPart) - use.open;
}
