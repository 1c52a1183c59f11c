// SPDX-License-Identifier: GPL-2.0-or-later
#include "srtfile.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <format>
#include <fstream>
#include <span>
#include <stdexcept>
#include <thread>
#include <vector>

namespace srtfile {
namespace {

using Clock = std::chrono::steady_clock;

// Time limit for the listener to close the connection after the last byte, in addition to the latency.
constexpr std::chrono::seconds timeout(60);
constexpr int connectTimeoutMs = 60'000;
constexpr std::chrono::milliseconds endMessageInterval(10);
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

/// The repeated file with the send time of each byte.
class Playback
{
public:
    explicit Playback(const Options &options)
        : bytes(readFile(options.file)), repeat(static_cast<std::uint64_t>(options.repeat)),
          perByte(bitsPerByte / (options.megabitsPerSecond * bitsPerMegabit)),
          started(Clock::now() - std::chrono::milliseconds(options.fromMs))
    {
    }

    [[nodiscard]] std::uint64_t size() const { return bytes.size() * repeat; }
    /// The first byte of the first message whose send time is \a elapsed or later.
    [[nodiscard]] std::uint64_t positionAfter(Clock::duration elapsed) const
    {
        const auto played = static_cast<std::uint64_t>(elapsed / perByte);
        return std::min(size(), (played + payloadSize - 1) / payloadSize * payloadSize);
    }
    [[nodiscard]] std::uint64_t positionNow() const { return positionAfter(Clock::now() - started); }
    void waitUntilDue(std::uint64_t at) const
    {
        std::this_thread::sleep_until(started +
                                      std::chrono::duration_cast<Clock::duration>(perByte * static_cast<double>(at)));
    }
    /// The message that begins at byte \a at; it does not cross the end of the file.
    [[nodiscard]] std::span<const char> message(std::uint64_t at) const
    {
        const std::span<const char> rest = std::span(bytes).subspan(at % bytes.size());
        return rest.first(std::min<std::size_t>(payloadSize, rest.size()));
    }

private:
    std::vector<char> bytes;
    std::uint64_t repeat;
    std::chrono::duration<double> perByte;
    Clock::time_point started;
};

bool sendMessage(SRTSOCKET socket, std::span<const char> message)
{
    return srt_send(socket, message.data(), static_cast<int>(message.size())) != SRT_ERROR;
}

bool sendSize(SRTSOCKET socket, std::uint64_t size)
{
    std::array<char, sizeMessageLength> message{};
    for (std::size_t at = message.size(); at-- > 0; size >>= 8) {
        message[at] = static_cast<char>(size & 0xFF);
    }
    return sendMessage(socket, message);
}

/// Sends from byte \a at on; returns whether the connection stayed open.
bool sendPaced(SRTSOCKET socket, const Playback &playback, std::uint64_t at)
{
    bool connected = sendSize(socket, playback.size() - at);
    while (connected && at < playback.size()) {
        playback.waitUntilDue(at);
        const auto message = playback.message(at);
        connected = sendMessage(socket, message);
        at += message.size();
    }
    return connected;
}

// SRT detects a lost packet by a later one, so the end message is repeated.
bool sendEndUntilClosed(SRTSOCKET socket)
{
    const auto deadline = Clock::now() + timeout;
    while (srt_getsockstate(socket) == SRTS_CONNECTED) {
        if (Clock::now() > deadline) {
            return false;
        }
        sendMessage(socket, endMessage); // fails when the listener has closed the connection
        std::this_thread::sleep_for(endMessageInterval);
    }
    return true;
}

/// Connects with \a streamId; returns SRT_INVALID_SOCK without a listener.
SRTSOCKET connect(const Options &options, const std::string &streamId)
{
    const SRTSOCKET socket = makeSocket(options);
    check(srt_setsockflag(socket, SRTO_CONNTIMEO, &connectTimeoutMs, sizeof connectTimeoutMs), "connect timeout");
    check(srt_setsockflag(socket, SRTO_STREAMID, streamId.data(), static_cast<int>(streamId.size())), "stream id");
    const sockaddr_in address = loopback(options.port);
    if (srt_connect(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) == SRT_ERROR) {
        srt_close(socket);
        return SRT_INVALID_SOCK;
    }
    writeLine(R"({"event":"connected"})");
    return socket;
}

/// Sends everything from byte \a at on over one connection; returns whether it stayed open until the listener closed
/// it.
bool sendRest(SRTSOCKET socket, const Playback &playback, std::uint64_t at)
{
    bool connected = sendPaced(socket, playback, at);
    if (connected) {
        writeLine(R"({"event":"sent"})");
        connected = sendEndUntilClosed(socket);
    }
    srt_close(socket);
    return connected;
}

} // namespace

bool send(const Options &options)
{
    SRTSOCKET socket = connect(options, options.streamId);
    if (socket == SRT_INVALID_SOCK) {
        throw std::runtime_error(std::string("connect: ") + srt_getlasterror_str());
    }
    const Playback playback(options);
    bool held = sendRest(socket, playback, playback.positionAfter(std::chrono::milliseconds(options.fromMs)));
    for (int again = 1; !held && options.reconnect != 0 && playback.positionNow() < playback.size(); ++again) {
        writeLine(R"({"event":"broken"})");
        socket = connect(options, std::format("{}-{}", options.streamId, again));
        held = socket != SRT_INVALID_SOCK && sendRest(socket, playback, playback.positionNow());
    }
    return held;
}

} // namespace srtfile
