// SPDX-License-Identifier: GPL-2.0-or-later
#include "options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

namespace bondsender {

const std::string_view usageText =
    R"(usage: bondsender --listen PORT --to ADDRESS:PORT --link ADDRESS[,NAME=VALUE...]... [OPTION...]

Accepts an SRT caller on 127.0.0.1:PORT (0: any free port) and sends its stream to an SRTLA receiver over several links.

  --link ADDRESS,...  a link that sends from this local IPv4 address; repeat the option for more links. Impairments are
                      optional and apply to both directions; times are relative to the caller's first datagram:
                        loss=2%          share of lost datagrams
                        delay=20ms       delay of every datagram
                        jitter=30ms      additional delay, uniformly distributed up to this; causes reordering
                        rate=8M          limit in bits per second; drops datagrams beyond a queue of 250 ms
                        duplicate=1%     share of duplicated datagrams
                        cut=5s-8s        drops all datagrams between these times (5s-: until the end); may be repeated
                        rebind=5s        changes the source port at this time; may be repeated
  --id HEX            first bytes of the sender's id, and the seed of the others; random by default
  --seed NUMBER       seed of the impairments; random by default
  --json              prints events and totals as one JSON object per line
  --every DURATION    interval of the totals (on a terminal: 1s)
  --help              prints this text

Durations have the form 250us, 30ms or 5s. Totals are printed at the end and on SIGUSR1; SIGINT and SIGTERM end the program.
)";

namespace {

constexpr std::uint64_t kilo = 1'000;
constexpr std::uint64_t mega = 1'000'000;
constexpr double percent = 100;
constexpr int hexadecimal = 16;

template<typename Number> std::optional<Number> parseNumber(std::string_view text)
{
    Number number{};
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (failure != std::errc{} || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

/// Removes \a suffix from the end of \a text; returns whether it was there.
bool dropSuffix(std::string_view &text, std::string_view suffix)
{
    if (!text.ends_with(suffix)) {
        return false;
    }
    text.remove_suffix(suffix.size());
    return true;
}

std::optional<double> parseShare(std::string_view text)
{
    if (!dropSuffix(text, "%")) {
        return std::nullopt;
    }
    const auto number = parseNumber<double>(text);
    return number && *number >= 0 && *number <= percent ? std::optional(*number / percent) : std::nullopt;
}

std::optional<std::uint64_t> parseRate(std::string_view text)
{
    const std::uint64_t unit = dropSuffix(text, "M") ? mega : dropSuffix(text, "k") ? kilo : 1;
    const auto number = parseNumber<std::uint64_t>(text);
    if (!number || *number == 0 || *number > std::numeric_limits<std::uint64_t>::max() / unit) {
        return std::nullopt;
    }
    return *number * unit;
}

std::optional<Cut> parseCut(std::string_view text)
{
    const std::size_t dash = text.find('-');
    if (dash == std::string_view::npos) {
        return std::nullopt;
    }
    const auto from = parseDuration(text.substr(0, dash));
    const std::string_view rest = text.substr(dash + 1);
    const auto until = parseDuration(rest);
    if (!from || (!rest.empty() && (!until || *until <= *from))) {
        return std::nullopt;
    }
    return Cut{*from, until};
}

template<typename Value, typename Target> bool store(const std::optional<Value> &value, Target &target)
{
    if (value) {
        target = *value;
    }
    return value.has_value();
}

template<typename Value> bool append(const std::optional<Value> &value, std::vector<Value> &list)
{
    if (value) {
        list.push_back(*value);
    }
    return value.has_value();
}

bool setLinkOption(LinkOptions &link, std::string_view name, std::string_view value)
{
    Impairment &impairment = link.impairment;
    if (name == "loss") {
        return store(parseShare(value), impairment.loss);
    }
    if (name == "duplicate") {
        return store(parseShare(value), impairment.duplicate);
    }
    if (name == "delay") {
        return store(parseDuration(value), impairment.delay);
    }
    if (name == "jitter") {
        return store(parseDuration(value), impairment.jitter);
    }
    if (name == "rate") {
        return store(parseRate(value), impairment.bitsPerSecond);
    }
    if (name == "cut") {
        return append(parseCut(value), impairment.cuts);
    }
    return name == "rebind" && append(parseDuration(value), link.rebinds);
}

bool parseReceiver(std::string_view text, Options &options)
{
    const std::size_t colon = text.rfind(':');
    if (colon == std::string_view::npos || colon == 0) {
        return false;
    }
    options.receiverAddress = text.substr(0, colon);
    return store(parseNumber<std::uint16_t>(text.substr(colon + 1)), options.receiverPort) && options.receiverPort != 0;
}

bool parseId(std::string_view text, std::vector<std::uint8_t> &id)
{
    if (text.empty() || text.size() % 2 != 0 || text.size() / 2 > senderHalfSize) {
        return false;
    }
    for (std::size_t at = 0; at < text.size(); at += 2) {
        std::uint8_t byte = 0;
        const char *const end = text.data() + at + 2;
        if (std::from_chars(text.data() + at, end, byte, hexadecimal).ptr != end) {
            return false;
        }
        id.push_back(byte);
    }
    return true;
}

bool setOption(Options &options, std::string_view name, const std::string &value, std::string &error)
{
    if (name == "--listen") {
        return store(parseNumber<std::uint16_t>(value), options.listenPort);
    }
    if (name == "--to") {
        return parseReceiver(value, options);
    }
    if (name == "--link") {
        return append(parseLink(value, error), options.links);
    }
    if (name == "--id") {
        return parseId(value, options.id);
    }
    if (name == "--seed") {
        const auto seed = parseNumber<std::uint64_t>(value);
        options.seed = seed;
        return seed.has_value();
    }
    const auto every = parseDuration(value);
    options.reportEvery = every;
    return every && every->count() > 0;
}

bool takesValue(std::string_view name)
{
    constexpr std::array<std::string_view, 6> names{"--listen", "--to", "--link", "--id", "--seed", "--every"};
    return std::ranges::find(names, name) != names.end();
}

} // namespace

std::optional<Microseconds> parseDuration(std::string_view text)
{
    std::uint64_t unit = mega;
    if (dropSuffix(text, "ms")) {
        unit = kilo;
    } else if (dropSuffix(text, "us")) {
        unit = 1;
    } else if (!dropSuffix(text, "s")) {
        return std::nullopt;
    }
    constexpr double longestSeconds = 1e6;
    const auto number = parseNumber<double>(text);
    if (!number || std::isnan(*number) || *number < 0 || *number > longestSeconds) {
        return std::nullopt;
    }
    return Microseconds(static_cast<std::int64_t>(*number * static_cast<double>(unit)));
}

std::optional<LinkOptions> parseLink(std::string_view text, std::string &error)
{
    LinkOptions link;
    std::size_t comma = text.find(',');
    link.address = text.substr(0, comma);
    while (comma != std::string_view::npos) {
        text.remove_prefix(comma + 1);
        comma = text.find(',');
        const std::string_view setting = text.substr(0, comma);
        const std::size_t equals = setting.find('=');
        if (equals == std::string_view::npos ||
            !setLinkOption(link, setting.substr(0, equals), setting.substr(equals + 1))) {
            error = "invalid link setting: " + std::string(setting);
            return std::nullopt;
        }
    }
    return link;
}

std::optional<Options> parseOptions(std::span<const std::string> arguments, std::string &error)
{
    Options options;
    bool listenGiven = false;
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const std::string &name = arguments[at];
        if (name == "--help") {
            options.help = true;
            return options;
        }
        if (name == "--json") {
            options.json = true;
            continue;
        }
        if (!takesValue(name)) {
            error = "unknown option: " + name;
            return std::nullopt;
        }
        if (++at == arguments.size()) {
            error = "missing value: " + name;
            return std::nullopt;
        }
        if (!setOption(options, name, arguments[at], error)) {
            if (error.empty()) {
                error.append("invalid value: ").append(name).append(" ").append(arguments[at]);
            }
            return std::nullopt;
        }
        listenGiven = listenGiven || name == "--listen";
    }
    if (!listenGiven || options.receiverPort == 0 || options.links.empty()) {
        error = "--listen, --to and --link are required";
        return std::nullopt;
    }
    return options;
}

} // namespace bondsender
