// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "impairment.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace bondsender {

/// One --link option.
struct LinkOptions
{
    std::string address; ///< local IPv4 source address
    Impairment impairment;
    std::vector<Microseconds> rebinds; ///< times of a new source port, relative to the start of the stream
};

struct Options
{
    std::uint16_t listenPort = 0; ///< for the SRT caller, on 127.0.0.1; 0: a free port
    std::string receiverAddress;
    std::uint16_t receiverPort = 0;
    std::vector<LinkOptions> links;
    std::vector<std::uint8_t> id;      ///< seed of the sender's half of the group id; empty: random
    std::optional<std::uint64_t> seed; ///< for the impairments; empty: random
    bool json = false;
    std::optional<Microseconds> reportEvery;
    bool help = false;
};

/// Usage text.
extern const std::string_view usageText;

/// Parses the command line (without the program name). Empty, with the reason in \a error, if it is invalid.
[[nodiscard]] std::optional<Options> parseOptions(std::span<const std::string> arguments, std::string &error);

/// Parses "ADDRESS[,NAME=VALUE...]". Empty, with the reason in \a error, if it is invalid.
[[nodiscard]] std::optional<LinkOptions> parseLink(std::string_view text, std::string &error);

/// Parses "5s", "30ms" or "250us".
[[nodiscard]] std::optional<Microseconds> parseDuration(std::string_view text);

} // namespace bondsender
