// SPDX-License-Identifier: GPL-2.0-or-later
#include "reporter.h"

#include <cstdio>
#include <format>

namespace bondsender {
namespace {

constexpr double bitsPerMegabit = 1e6;

double seconds(Microseconds duration)
{
    return std::chrono::duration<double>(duration).count();
}

double milliseconds(Microseconds duration)
{
    return std::chrono::duration<double, std::milli>(duration).count();
}

std::string pathJson(const ImpairedPath::Counters &path)
{
    return std::format(R"({{"lost":{},"cut":{},"overflowed":{},"duplicated":{}}})", path.lost, path.cut,
                       path.overflowed, path.duplicated);
}

std::string rowJson(const Snapshot::Row &row)
{
    return std::format(R"({{"address":"{}","port":{},"state":"{}","rttMs":{:.1f},"unacknowledged":{},"sent":{},)"
                       R"("sentBytes":{},"streamSent":{},"received":{},"acknowledged":{},"reportedLost":{},)"
                       R"("expired":{},"up":{},"down":{}}})",
                       row.address, row.port, row.state, milliseconds(row.roundTrip), row.unacknowledged, row.link.sent,
                       row.link.sentBytes, row.link.streamSent, row.link.received, row.link.acknowledged,
                       row.link.reportedLost, row.link.expired, pathJson(row.up), pathJson(row.down));
}

std::string rowText(const Snapshot::Row &row, double megabitsPerSecond)
{
    return std::format("{:<15} {:<10} {:>6.2f} Mbit/s {:>9} sent {:>6} lost {:>6} cut {:>5} open {:>6.1f} ms",
                       row.address, row.state, megabitsPerSecond, row.link.sent, row.up.lost + row.up.overflowed,
                       row.up.cut, row.unacknowledged, milliseconds(row.roundTrip));
}

} // namespace

std::string toJson(const Snapshot &snapshot)
{
    std::string links;
    for (const Snapshot::Row &row : snapshot.links) {
        links += (links.empty() ? "" : ",") + rowJson(row);
    }
    return std::format(R"({{"event":"totals","seconds":{:.3f},"groupsCreated":{},"caller":{{"packets":{},"bytes":{},)"
                       R"("unsent":{},"replies":{}}},"links":[{}]}})",
                       seconds(snapshot.runningFor), snapshot.groupsCreated, snapshot.caller.packets,
                       snapshot.caller.bytes, snapshot.caller.unsent, snapshot.caller.replies, links);
}

void Reporter::event(std::string_view name, std::initializer_list<std::pair<std::string_view, std::string>> details,
                     TimePoint now)
{
    const double time = seconds(std::chrono::duration_cast<Microseconds>(now - started));
    std::string line;
    if (form == Form::Json) {
        // Values are numbers, addresses and fixed words without characters to escape.
        line = std::format(R"({{"event":"{}","seconds":{:.3f})", name, time);
        for (const auto &[key, value] : details) {
            line += std::format(R"(,"{}":"{}")", key, value);
        }
        line += "}\n";
    } else {
        line = std::format("{:8.3f} {}", time, name);
        for (const auto &[key, value] : details) {
            line += std::format(" {} {}", key, value);
        }
        line += '\n';
    }
    liveLines = 0;
    write(line);
}

void Reporter::totals(const Snapshot &snapshot)
{
    if (form == Form::Json) {
        write(toJson(snapshot) + '\n');
    } else {
        writeLive(snapshot);
    }
}

void Reporter::writeLive(const Snapshot &snapshot)
{
    std::string text;
    if (form == Form::Live && liveLines > 0) {
        text = std::format("\x1b[{}A", liveLines); // moves the cursor up to the previous lines
    }
    const double elapsed = seconds(snapshot.runningFor - previousTime);
    previousBytes.resize(snapshot.links.size());
    for (std::size_t index = 0; index < snapshot.links.size(); ++index) {
        const Snapshot::Row &row = snapshot.links[index];
        const double bits = static_cast<double>(row.link.sentBytes - previousBytes[index]) * bitsPerByte;
        text += rowText(row, elapsed > 0 ? bits / elapsed / bitsPerMegabit : 0);
        text += form == Form::Live ? "\x1b[K\n" : "\n"; // clears the rest of the line
        previousBytes[index] = row.link.sentBytes;
    }
    previousTime = snapshot.runningFor;
    liveLines = snapshot.links.size();
    write(text);
}

void Reporter::write(const std::string &text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

} // namespace bondsender
