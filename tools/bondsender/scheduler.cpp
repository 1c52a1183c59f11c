// SPDX-License-Identifier: GPL-2.0-or-later
#include "scheduler.h"

#include <utility>

namespace bondsender {

std::optional<std::size_t> chooseLink(std::span<const LinkLoad> links, std::size_t previous)
{
    std::optional<std::size_t> best;
    std::pair<bool, double> bestCost;
    for (std::size_t step = 1; step <= links.size(); ++step) {
        const std::size_t index = (previous + step) % links.size();
        const LinkLoad &link = links[index];
        if (!link.registered) {
            continue;
        }
        const std::pair cost(link.quiet, static_cast<double>(link.unacknowledged) + link.penalty);
        if (!best || cost < bestCost) {
            best = index;
            bestCost = cost;
        }
    }
    return best;
}

} // namespace bondsender
