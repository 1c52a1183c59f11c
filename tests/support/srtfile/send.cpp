// SPDX-License-Identifier: GPL-2.0-or-later
#include "srtfile.h"

#include <array>
#include <chrono>
#include <fstream>
#include <stdexcept>
#include <thread>
#include <vector>

namespace srtfile {
namespace {

using Clock = std::chrono::steady_clock;

// How long the listener may take to hang up after the last byte, besides the latency.
constexpr std::chrono::seconds patience(60);
constexpr int connectTimeoutMs = 60'000;
constexpr double bitsPerByte = 8;
constexpr double bitsPerMegabit = 1e6;

std::vector<char> readFile(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("can't read " + path);
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

void sendMessage(SRTSOCKET socket, const char *data, std::size_t size)
{
    check(srt_send(socket, data, static_cast<int>(size)), "send");
}

void sendSize(SRTSOCKET socket, std::uint64_t size)
{
    std::array<char, sizeMessageLength> message{};
    for (std::size_t at = message.size(); at-- > 0; size >>= 8) {
        message[at] = static_cast<char>(size & 0xFF);
    }
    sendMessage(socket, message.data(), message.size());
}

void sendPaced(SRTSOCKET socket, const std::vector<char> &bytes, double megabitsPerSecond)
{
    const auto start = Clock::now();
    const std::chrono::duration<double> perByte(bitsPerByte / (megabitsPerSecond * bitsPerMegabit));
    for (std::size_t at = 0; at < bytes.size(); at += payloadSize) {
        std::this_thread::sleep_until(start +
                                      std::chrono::duration_cast<Clock::duration>(perByte * static_cast<double>(at)));
        sendMessage(socket, bytes.data() + at, std::min<std::size_t>(payloadSize, bytes.size() - at));
    }
}

// A live stream goes on: SRT sends a lost packet again when a later one shows the gap, and the last of all never.
bool goOnUntilHangUp(SRTSOCKET socket)
{
    constexpr char filler = 0;
    const auto deadline = Clock::now() + patience;
    while (srt_getsockstate(socket) == SRTS_CONNECTED) {
        if (Clock::now() > deadline) {
            return false;
        }
        srt_send(socket, &filler, sizeof filler); // fails when the listener has just hung up
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

} // namespace

bool send(const Options &options)
{
    const std::vector<char> bytes = readFile(options.file);
    const SRTSOCKET socket = makeSocket(options);
    check(srt_setsockflag(socket, SRTO_CONNTIMEO, &connectTimeoutMs, sizeof connectTimeoutMs), "connect timeout");
    check(srt_setsockflag(socket, SRTO_STREAMID, options.streamId.data(), static_cast<int>(options.streamId.size())),
          "stream id");
    const sockaddr_in address = loopback(options.port);
    check(srt_connect(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address), "connect");
    writeLine(R"({"event":"connected"})");
    sendSize(socket, bytes.size());
    sendPaced(socket, bytes, options.megabitsPerSecond);
    writeLine(R"({"event":"sent"})");
    const bool fetched = goOnUntilHangUp(socket);
    srt_close(socket);
    return fetched;
}

} // namespace srtfile
