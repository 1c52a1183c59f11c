// SPDX-License-Identifier: GPL-2.0-or-later
#include "load.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

/// Payload of an SRT packet with seven MPEG-TS packets.
constexpr std::size_t packetBytes = 1316;
constexpr std::size_t registrationBytes = 258;
constexpr std::size_t maxDatagramBytes = 65536;
constexpr std::size_t srtAckBytes = 44;
/// SRT sends a light acknowledgement every 64 packets (draft-sharabayko-srt, "ACK").
constexpr int packetsPerSrtAck = 64;
constexpr int receiveBufferBytes = 8 * 1024 * 1024;
/// Time limit and poll interval for the start of a relay; time limit of a response.
constexpr int startMs = 10000;
constexpr int stepMs = 100;
constexpr int answerMs = 5000;
/// A round ends after this time without a datagram.
constexpr int quietMs = 100;
/// Time limit for the echo of a keepalive. Short, because all links have to be refreshed before others time out.
constexpr int keepaliveMs = 1000;
/// Number of groups registered, or links refreshed, at once.
constexpr std::size_t batchGroups = 500;

void setType(std::vector<std::byte> &datagram, unsigned type)
{
    datagram[0] = static_cast<std::byte>(type >> 8);
    datagram[1] = static_cast<std::byte>(type & 0xff);
}

[[noreturn]] void fail(const char *what)
{
    std::fprintf(stderr, "%s\n", what);
    std::exit(1);
}

} // namespace

Load::Load(std::size_t groups, std::size_t linksOfGroup)
    : linksPerGroup(linksOfGroup), listener(0, receiveBufferBytes), packet(packetBytes), buffer(maxDatagramBytes),
      srtAck(srtAckBytes)
{
    const std::size_t count = groups * linksPerGroup;
    links.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        links.emplace_back();
    }
    setType(srtAck, 0x8002);
}

void Load::registerLinks(std::uint16_t port)
{
    if (!keepAlive(port)) {
        // In batches, because waiting for single responses could exceed the time-out of a link.
        const std::size_t batch = batchGroups * linksPerGroup;
        for (std::size_t first = 0; first < links.size(); first += batch) {
            registerBatch(port, first, std::min(first + batch, links.size()));
        }
        if (!keepAlive(port)) {
            fail("the engine does not register all links");
        }
    }
    nextLink = 0;
}

void Load::registerBatch(std::uint16_t port, std::size_t first, std::size_t end)
{
    for (std::size_t i = first; i < end; ++i) {
        takeReplies(links[i]); // earlier replies
    }
    std::vector<std::byte> registration(registrationBytes);
    setType(registration, 0x9200);
    for (std::size_t i = first; i < end; i += linksPerGroup) {
        std::memcpy(&registration[2], &i, sizeof i);
        links[i].sendTo(port, registration);
    }
    for (std::size_t i = first; i < end; i += linksPerGroup) {
        if (!links[i].wait(answerMs) || links[i].receive(registration) != std::ptrdiff_t{registrationBytes}) {
            fail("the engine does not respond to REG1");
        }
        for (std::size_t link = i; link < i + linksPerGroup; ++link) {
            links[link].sendTo(port, registration); // the response to REG1 is the REG2 to send
        }
    }
    for (std::size_t i = first; i < end; ++i) {
        if (!links[i].wait(answerMs) || links[i].receive(buffer) != 2 || buffer[1] != std::byte{0x02}) {
            fail("the engine does not register a link");
        }
    }
    for (nextLink = first; nextLink < end; nextLink += linksPerGroup - 1) {
        sendOne(port); // the first packet of a group creates its socket
    }
    for (std::size_t i = first; i < end; i += linksPerGroup) {
        if (!listener.wait(answerMs)) {
            fail("the engine forwards nothing");
        }
        listener.receive(buffer);
    }
}

bool Load::keepAlive(std::uint16_t port)
{
    std::vector<std::byte> keepalive(2);
    setType(keepalive, 0x9000);
    for (std::size_t first = 0; first < links.size(); first += batchGroups) {
        const std::size_t end = std::min(first + batchGroups, links.size());
        for (std::size_t i = first; i < end; ++i) {
            takeReplies(links[i]); // of the previous round
            links[i].sendTo(port, keepalive);
        }
        for (std::size_t i = first; i < end; ++i) {
            do { // skips late replies
                if (!links[i].wait(keepaliveMs)) {
                    return false;
                }
            } while (links[i].receive(buffer) != std::ssize(keepalive));
        }
    }
    return true;
}

void Load::waitForRelay(std::uint16_t port, bool isEngine)
{
    std::vector<std::byte> reg2(registrationBytes); // unknown group: an engine responds, other relays deliver it
    setType(reg2, 0x9201);
    const Udp &answered = isEngine ? links.front() : listener;
    for (int attempt = 0; attempt < startMs / stepMs; ++attempt) {
        links.front().sendTo(port, reg2);
        if (answered.wait(stepMs)) {
            takeDelivered();
            takeReplies(links.front());
            return;
        }
    }
    fail("a relay does not start");
}

LoadResult Load::run(std::uint16_t port, const LoadShape &shape)
{
    const auto interval = std::chrono::nanoseconds(std::chrono::seconds(1)) / shape.burstsPerSecond;
    LoadResult result;
    takeDelivered(); // late datagrams of the previous round
    auto due = Clock::now();
    for (int burst = 0; burst < shape.bursts; ++burst) {
        for (int i = 0; i < shape.datagramsPerBurst; ++i) {
            sendOne(port);
        }
        result.sent += shape.datagramsPerBurst;
        due += interval;
        std::this_thread::sleep_until(due);
        result.delivered += takeDelivered();
    }
    while (result.delivered < result.sent && listener.wait(quietMs)) {
        result.delivered += takeDelivered();
    }
    for (Udp &link : links) {
        takeReplies(link);
    }
    return result;
}

void Load::sendOne(std::uint16_t port)
{
    Udp &link = links[nextLink];
    nextLink = (nextLink + 1) % links.size();
    takeReplies(link);
    ++sequence;
    for (int i = 0; i < 4; ++i) {
        packet[static_cast<std::size_t>(i)] = static_cast<std::byte>((sequence & 0x7fffffff) >> (24 - 8 * i));
    }
    link.sendTo(port, packet);
}

std::int64_t Load::takeDelivered()
{
    std::int64_t count = 0;
    while (listener.receive(buffer) >= 0) {
        ++count;
        if (++sinceAck == packetsPerSrtAck) {
            sinceAck = 0;
            listener.answer(srtAck);
        }
    }
    return count;
}

void Load::takeReplies(Udp &link)
{
    while (link.receive(buffer) >= 0) {
    }
}
