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

constexpr int backlog = 16;
constexpr int longestStreamId = 512;

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
    Clock::time_point last = Clock::now();
    Clock::duration longestPause{};
    while (received < wanted) {
        const int size = srt_recv(socket, message.data(), payloadSize);
        if (size <= 0) {
            break;
        }
        const Clock::time_point now = Clock::now();
        longestPause = std::max(longestPause, now - std::exchange(last, now));
        file.write(message.data(), size);
        received += static_cast<std::uint64_t>(size);
    }
    SRT_TRACEBSTATS statistics{};
    srt_bstats(socket, &statistics, 0);
    srt_close(socket);
    file.close();
    const auto pauseMs = std::chrono::duration_cast<std::chrono::milliseconds>(longestPause).count();
    writeLine(std::format(R"({{"event":"ended","stream":"{}","wanted":{},"bytes":{},"packets":{},"lost":{},)"
                          R"("dropped":{},"retransmitted":{},"longestPauseMs":{}}})",
                          id, wanted, received, statistics.pktRecvTotal, statistics.pktRcvLossTotal,
                          statistics.pktRcvDropTotal, statistics.pktRcvRetrans, pauseMs));
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
