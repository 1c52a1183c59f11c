// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "clock.h"
#include "link.h"

#include <string>
#include <string_view>
#include <vector>

namespace bondsender {

/// Datagrams from and to the caller.
struct CallerCounters
{
    std::uint64_t packets = 0;
    std::uint64_t bytes = 0;
    std::uint64_t unsent = 0; ///< because no link was registered
    std::uint64_t replies = 0;
};

/// Totals of a running sender.
struct Snapshot
{
    struct Row
    {
        std::string address;
        std::uint16_t port = 0;
        std::string state; ///< "waiting", "joining", "registered" or "cut"
        Microseconds roundTrip{};
        std::size_t unacknowledged = 0;
        LinkCounters link;
        ImpairedPath::Counters up;
        ImpairedPath::Counters down;
    };
    Microseconds runningFor{};
    std::uint64_t groupsCreated = 0;
    CallerCounters caller;
    std::vector<Row> links;
};

/// Prints events and totals as JSON, as text, or on a terminal as one updated line per link.
class Reporter
{
public:
    enum class Form { Json, Text, Live };

    Reporter(Form newForm, TimePoint start) : form(newForm), started(start) {}

    /// Prints an event with the names and values in \a details.
    void event(std::string_view name, std::initializer_list<std::pair<std::string_view, std::string>> details,
               TimePoint now);
    void totals(const Snapshot &snapshot);

private:
    void write(const std::string &text);
    void writeLive(const Snapshot &snapshot);

    Form form;
    TimePoint started;
    std::size_t liveLines = 0; ///< lines replaced by the next update
    std::vector<std::uint64_t> previousBytes;
    Microseconds previousTime{};
};

/// Totals as one JSON object, without a newline.
[[nodiscard]] std::string toJson(const Snapshot &snapshot);

} // namespace bondsender
