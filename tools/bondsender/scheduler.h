// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <span>

namespace bondsender {

/// State of a link for the selection.
struct LinkLoad
{
    bool registered = false;
    bool quiet = false;             ///< nothing received for some time
    std::size_t unacknowledged = 0; ///< packets
    double penalty = 0;             ///< recently reported losses, in packets
};

/// Selects the link for the next packet: the registered link with the lowest sum of unacknowledged packets and penalty,
/// round robin after \a previous among equal ones. Quiet links are used only if there is no other. Empty without a
/// registered link.
[[nodiscard]] std::optional<std::size_t> chooseLink(std::span<const LinkLoad> links, std::size_t previous);

} // namespace bondsender
