// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <span>

namespace bondsender {

/// What decides whether a link gets the next packet.
struct LinkLoad
{
    bool registered = false;
    bool quiet = false;             ///< has not been heard for so long that it may be dead
    std::size_t unacknowledged = 0; ///< packets
    double penalty = 0;             ///< recently reported losses, in packets
};

/// The link that carries the next packet: of the registered ones the one with the least unacknowledged and lost, taking
/// turns from the one after \a previous where several have the same. Quiet links count only when there is no other.
/// Nothing when no link is registered.
[[nodiscard]] std::optional<std::size_t> chooseLink(std::span<const LinkLoad> links, std::size_t previous);

} // namespace bondsender
