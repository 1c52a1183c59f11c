// SPDX-License-Identifier: GPL-2.0-or-later
// Sender and reader of a live stream with time stamps in its payloads, over SRT or UDP.
//   stampedstream send srt|udp PORT LATENCY-MS MBIT-PER-SECOND
//   stampedstream read srt|udp PORT LATENCY-MS FILE
// Both run until they are killed. The reader appends one record per payload to FILE: number, send time, receive time,
// each 64 bits in native byte order; times are nanoseconds of the monotonic clock. One line of JSON is printed when the
// reader listens and when the sender is connected. The latency is ignored for UDP.

#include "srtfile.h"
#include "udp.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
using Payload = std::array<char, srtfile::payloadSize>;

constexpr int exitUsage = 2;
constexpr int connectTimeoutMs = 60'000;
constexpr int receiveBufferBytes = 4 << 20;
constexpr int waitMs = 1000;
constexpr const char *usageText = "usage: stampedstream send srt|udp PORT LATENCY-MS MBIT-PER-SECOND\n"
                                  "       stampedstream read srt|udp PORT LATENCY-MS FILE\n";

std::int64_t nowNs()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count();
}

/// Header of a payload; the rest is zero.
struct Stamp
{
    std::uint64_t number;
    std::int64_t sentNs;
};

struct Record
{
    Stamp stamp;
    std::int64_t readNs;
};

/// Calls \a send with payloads at a constant rate until it returns false.
void sendSteadily(double megabitsPerSecond, const std::function<bool(const Payload &)> &send)
{
    constexpr double bitsPerMegabit = 1e6;
    const std::chrono::duration<double> interval(8.0 * srtfile::payloadSize / (megabitsPerSecond * bitsPerMegabit));
    Payload payload{};
    const auto began = Clock::now();
    for (std::uint64_t number = 0;; ++number) {
        std::this_thread::sleep_until(
            began + std::chrono::duration_cast<Clock::duration>(interval * static_cast<double>(number)));
        const Stamp stamp{number, nowNs()};
        std::memcpy(payload.data(), &stamp, sizeof stamp);
        if (!send(payload)) {
            return;
        }
    }
}

void sendSrt(const srtfile::Options &options)
{
    const SRTSOCKET socket = srtfile::makeSocket(options);
    srtfile::check(srt_setsockflag(socket, SRTO_CONNTIMEO, &connectTimeoutMs, sizeof connectTimeoutMs), "time-out");
    const sockaddr_in address = srtfile::loopback(options.port);
    srtfile::check(srt_connect(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address), "connect");
    srtfile::writeLine(R"({"event":"connected"})");
    sendSteadily(options.megabitsPerSecond, [socket](const Payload &payload) {
        return srt_send(socket, payload.data(), srtfile::payloadSize) != SRT_ERROR;
    });
}

void sendUdp(const srtfile::Options &options)
{
    const Udp socket;
    srtfile::writeLine(R"({"event":"connected"})");
    sendSteadily(options.megabitsPerSecond, [&](const Payload &payload) {
        socket.sendTo(static_cast<std::uint16_t>(options.port), std::as_bytes(std::span(payload)));
        return true;
    });
}

/// The file of records, unbuffered.
class Records
{
public:
    explicit Records(const std::string &path) : file(std::fopen(path.c_str(), "wb"))
    {
        if (file == nullptr) {
            throw std::runtime_error("can't write " + path);
        }
    }
    Records(const Records &) = delete;
    Records &operator=(const Records &) = delete;
    ~Records() { std::fclose(file); }

    void note(const Payload &payload)
    {
        Record record{.stamp = {}, .readNs = nowNs()};
        std::memcpy(&record.stamp, payload.data(), sizeof record.stamp);
        std::fwrite(&record, sizeof record, 1, file);
        std::fflush(file);
    }

private:
    std::FILE *file;
};

void readSrt(const srtfile::Options &options)
{
    Records records(options.file);
    const SRTSOCKET listener = srtfile::makeSocket(options);
    const sockaddr_in address = srtfile::loopback(options.port);
    srtfile::check(srt_bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof address), "bind");
    srtfile::check(srt_listen(listener, 1), "listen");
    srtfile::writeLine(R"({"event":"listening"})");
    const SRTSOCKET socket = srt_accept(listener, nullptr, nullptr);
    srtfile::check(socket, "accept");
    Payload payload{};
    while (srt_recv(socket, payload.data(), srtfile::payloadSize) == srtfile::payloadSize) {
        records.note(payload);
    }
}

void readUdp(const srtfile::Options &options)
{
    Records records(options.file);
    Udp socket(static_cast<std::uint16_t>(options.port), receiveBufferBytes);
    srtfile::writeLine(R"({"event":"listening"})");
    Payload payload{};
    for (;;) {
        while (socket.receive(std::as_writable_bytes(std::span(payload))) == srtfile::payloadSize) {
            records.note(payload);
        }
        static_cast<void>(socket.wait(waitMs)); // a timeout is handled by the next read
    }
}

/// Executes the command line; false if it is invalid.
bool run(std::span<char *> words)
{
    constexpr std::size_t wordCount = 6;
    if (words.size() != wordCount) {
        return false;
    }
    const std::string_view what = words[1];
    const std::string_view transport = words[2];
    srtfile::Options options;
    options.port = std::atoi(words[3]);
    options.latencyMs = std::atoi(words[4]);
    options.file = words[5];
    if (what == "send") {
        options.megabitsPerSecond = std::atof(words[5]);
        if (options.megabitsPerSecond <= 0) {
            return false;
        }
    }
    if (what == "send" && transport == "srt") {
        sendSrt(options);
    } else if (what == "send" && transport == "udp") {
        sendUdp(options);
    } else if (what == "read" && transport == "srt") {
        readSrt(options);
    } else if (what == "read" && transport == "udp") {
        readUdp(options);
    } else {
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        srt_startup();
        srt_setloglevel(LOG_CRIT); // losses are in the records
        if (!run({argv, static_cast<std::size_t>(argc)})) {
            std::fputs(usageText, stderr);
            return exitUsage;
        }
        std::fputs("stampedstream: the connection broke\n", stderr);
        return 1;
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "stampedstream: %s\n", failure.what());
        return 1;
    }
}
