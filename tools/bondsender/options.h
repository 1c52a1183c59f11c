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

/// One link, as given on the command line.
struct LinkOptions
{
    std::string address; ///< local IPv4 address that the link sends from
    Impairment impairment;
    std::vector<Microseconds> rebinds; ///< when it gets a new source port, counted from the start of the stream
};

struct Options
{
    std::uint16_t listenPort = 0; ///< for the SRT caller, on 127.0.0.1; 0: one that is free
    std::string receiverAddress;
    std::uint16_t receiverPort = 0;
    std::vector<LinkOptions> links;
    std::vector<std::uint8_t> id;      ///< what the sender's half of the group id is made from; empty: random
    std::optional<std::uint64_t> seed; ///< for the impairments; nothing: random
    bool json = false;
    std::optional<Microseconds> reportEvery;
    bool help = false;
};

/// The command line in words.
extern const std::string_view usageText;

/// Reads the command line (without the program's name). Returns nothing, and the reason in \a error, if it is wrong.
[[nodiscard]] std::optional<Options> parseOptions(std::span<const std::string> arguments, std::string &error);

/// Reads "ADDRESS[,NAME=VALUE...]"; returns nothing, and the reason in \a error, if it is wrong.
[[nodiscard]] std::optional<LinkOptions> parseLink(std::string_view text, std::string &error);

/// Reads "5s", "30ms" or "250us".
[[nodiscard]] std::optional<Microseconds> parseDuration(std::string_view text);

} // namespace bondsender
