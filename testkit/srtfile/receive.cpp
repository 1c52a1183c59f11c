// SPDX-License-Identifier: GPL-2.0-or-later
#include "srtfile.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <format>
#include <fstream>
#include <thread>
#include <utility>
#include <vector>

namespace srtfile {
namespace {

constexpr int backlog = 256;
constexpr int longestStreamId = 512;
// Minimum length of a reported pause, above scheduling delays of a loaded machine.
constexpr std::chrono::milliseconds noticeablePause(300);
constexpr std::chrono::seconds progressInterval(1);

using Clock = std::chrono::steady_clock;
using Message = std::array<char, payloadSize>;

std::string streamIdOf(SRTSOCKET socket)
{
    std::array<char, longestStreamId> id{};
    int length = id.size();
    check(srt_getsockflag(socket, SRTO_STREAMID, id.data(), &length), "stream id");
    return {id.data(), static_cast<std::size_t>(length)};
}

std::uint64_t readSize(const Message &message)
{
    std::uint64_t size = 0;
    for (std::size_t at = 0; at < sizeMessageLength; ++at) {
        size = size << 8 | static_cast<std::uint8_t>(message[at]);
    }
    return size;
}

/// The longest pause of a stream, and a line for each pause.
class Arrivals
{
public:
    explicit Arrivals(std::string streamId) : id(std::move(streamId)), last(Clock::now()), nextProgress(last) {}

    void note(std::uint64_t received, SRTSOCKET socket)
    {
        const Clock::time_point now = Clock::now();
        const Clock::duration pause = now - std::exchange(last, now);
        longestPause = std::max(longestPause, pause);
        if (std::exchange(first, false) || pause >= noticeablePause) {
            writeLine(std::format(R"({{"event":"flows","stream":"{}","pauseMs":{}}})", id, milliseconds(pause)));
        }
        if (now >= nextProgress) {
            nextProgress = now + progressInterval;
            writeLine(line("progress", received, socket));
        }
    }

    /// The statistics of \a socket as one line.
    [[nodiscard]] std::string line(const char *event, std::uint64_t received, SRTSOCKET socket) const
    {
        SRT_TRACEBSTATS statistics{};
        srt_bstats(socket, &statistics, 0);
        return std::format(R"({{"event":"{}","stream":"{}","bytes":{},"packets":{},"lost":{},"dropped":{},)"
                           R"("retransmitted":{},"longestPauseMs":{}}})",
                           event, id, received, statistics.pktRecvTotal, statistics.pktRcvLossTotal,
                           statistics.pktRcvDropTotal, statistics.pktRcvRetrans, milliseconds(longestPause));
    }

private:
    [[nodiscard]] static std::int64_t milliseconds(Clock::duration duration)
    {
        return std::chrono::duration_cast<std::chrono::milliseconds>(duration).count();
    }

    std::string id;
    Clock::time_point last;
    Clock::time_point nextProgress;
    Clock::duration longestPause{};
    bool first = true;
};

bool receiveStream(SRTSOCKET socket, const std::string &folder)
{
    const std::string id = streamIdOf(socket);
    writeLine(std::format(R"({{"event":"accepted","stream":"{}"}})", id));
    std::ofstream file(folder + "/" + id, std::ios::binary);
    Message message;
    std::uint64_t wanted = 0;
    std::uint64_t received = 0;
    if (srt_recv(socket, message.data(), payloadSize) == static_cast<int>(sizeMessageLength)) {
        wanted = readSize(message);
    }
    Arrivals arrivals(id);
    while (received < wanted) {
        const int size = srt_recv(socket, message.data(), payloadSize);
        // SRT delivers in order: data missing at the end message is lost.
        if (size <= 0 || std::string_view(message.data(), static_cast<std::size_t>(size)) == endMessage) {
            break;
        }
        received += static_cast<std::uint64_t>(size);
        arrivals.note(received, socket);
        file.write(message.data(), size);
    }
    const std::string end = arrivals.line("ended", received, socket);
    srt_close(socket);
    file.close();
    writeLine(end);
    return wanted != 0 && received == wanted && file.good();
}

} // namespace

bool receive(const Options &options)
{
    const SRTSOCKET listener = makeSocket(options);
    const sockaddr_in address = loopback(options.port);
    check(srt_bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof address), "bind");
    check(srt_listen(listener, backlog), "listen");
    writeLine(R"({"event":"listening"})");

    std::atomic<bool> whole = true;
    std::vector<std::jthread> readers;
    for (int stream = 0; stream < options.streams; ++stream) {
        const SRTSOCKET socket = srt_accept(listener, nullptr, nullptr);
        check(socket, "accept");
        readers.emplace_back([socket, &whole, &options] {
            if (!receiveStream(socket, options.folder)) {
                whole = false;
            }
        });
    }
    readers.clear();
    srt_close(listener);
    return whole;
}

} // namespace srtfile
