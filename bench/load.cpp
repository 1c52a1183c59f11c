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
constexpr std::size_t typeBytes = 2;
constexpr std::size_t registrationBytes = 258;
constexpr std::size_t maxDatagramBytes = 65536;
constexpr unsigned keepaliveType = 0x9000;
constexpr unsigned reg1Type = 0x9200;
constexpr unsigned reg2Type = 0x9201;
constexpr std::byte reg3LowByte{0x02}; // REG3 is 0x9202
constexpr unsigned srtAckType = 0x8002;
constexpr std::size_t srtAckBytes = 44;
/// SRT sends a light acknowledgement every 64 packets (draft-sharabayko-srt, "ACK").
constexpr int packetsPerSrtAck = 64;
constexpr int receiveBufferBytes = 8 * 1024 * 1024;
/// Time limit and poll interval for the start of a relay.
constexpr int startTimeoutMs = 10000;
constexpr int startPollIntervalMs = 100;
/// Time limit for a reply of the engine.
constexpr int replyTimeoutMs = 5000;
/// A round ends after this time without a datagram.
constexpr int inactivityTimeoutMs = 100;
/// Time limit for the echo of a keepalive. Short, because all links have to be refreshed before others time out.
constexpr int echoTimeoutMs = 1000;
/// Number of groups that are registered, or of links that are refreshed, before their replies are read.
constexpr std::size_t batchSize = 500;

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
    setType(srtAck, srtAckType);
}

void Load::registerLinks(std::uint16_t port)
{
    if (!keepAlive(port)) {
        // In batches, because waiting for single responses could exceed the time-out of a link.
        const std::size_t batch = batchSize * linksPerGroup;
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
    setType(registration, reg1Type);
    for (std::size_t i = first; i < end; i += linksPerGroup) {
        std::memcpy(&registration[typeBytes], &i, sizeof i); // each group id starts with a different number
        links[i].sendTo(port, registration);
    }
    for (std::size_t i = first; i < end; i += linksPerGroup) {
        if (!links[i].wait(replyTimeoutMs) || links[i].receive(registration) != std::ptrdiff_t{registrationBytes}) {
            fail("the engine does not respond to REG1");
        }
        for (std::size_t link = i; link < i + linksPerGroup; ++link) {
            links[link].sendTo(port, registration); // the response to REG1 is the REG2 to send
        }
    }
    for (std::size_t i = first; i < end; ++i) {
        const bool replied = links[i].wait(replyTimeoutMs) && links[i].receive(buffer) == std::ptrdiff_t{typeBytes};
        if (!replied || buffer[1] != reg3LowByte) {
            fail("the engine does not register a link");
        }
    }
    // The first packet of a group creates its socket. sendOne() increments nextLink.
    for (nextLink = first; nextLink < end; nextLink += linksPerGroup - 1) {
        sendOne(port);
    }
    for (std::size_t i = first; i < end; i += linksPerGroup) {
        if (!listener.wait(replyTimeoutMs)) {
            fail("the engine forwards nothing");
        }
        listener.receive(buffer);
    }
}

bool Load::keepAlive(std::uint16_t port)
{
    std::vector<std::byte> keepalive(typeBytes);
    setType(keepalive, keepaliveType);
    for (std::size_t first = 0; first < links.size(); first += batchSize) {
        const std::size_t end = std::min(first + batchSize, links.size());
        for (std::size_t i = first; i < end; ++i) {
            takeReplies(links[i]); // of the previous round
            links[i].sendTo(port, keepalive);
        }
        for (std::size_t i = first; i < end; ++i) {
            do { // skips late replies
                if (!links[i].wait(echoTimeoutMs)) {
                    return false;
                }
            } while (links[i].receive(buffer) != std::ssize(keepalive));
        }
    }
    return true;
}

void Load::waitForRelay(std::uint16_t port, bool isEngine)
{
    // To a REG2 of an unknown group the engine sends a reply; the other relays forward it.
    std::vector<std::byte> reg2(registrationBytes);
    setType(reg2, reg2Type);
    const Udp &awaited = isEngine ? links.front() : listener;
    for (int attempt = 0; attempt < startTimeoutMs / startPollIntervalMs; ++attempt) {
        links.front().sendTo(port, reg2);
        if (awaited.wait(startPollIntervalMs)) {
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
    while (result.delivered < result.sent && listener.wait(inactivityTimeoutMs)) {
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
    for (int i = 0; i < 4; ++i) { // big-endian; the top bit is 0 in data packets
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
            listener.reply(srtAck);
        }
    }
    return count;
}

void Load::takeReplies(Udp &link)
{
    while (link.receive(buffer) >= 0) {
    }
}
