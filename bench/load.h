// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "udp.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// Amount and timing of the load.
struct LoadShape
{
    int datagramsPerBurst = 20;
    int burstsPerSecond = 1000;
    int bursts = 500; ///< of one round
};

/// Result of a round.
struct LoadResult
{
    std::int64_t sent = 0;
    std::int64_t delivered = 0;
};

/// Both ends of a relay: senders with links on one side, the SRT listener on the other. Sends bursts of SRT data
/// packets round robin over all links, receives the relayed packets, and sends an SRT ACK every 64 packets.
class Load
{
public:
    Load(std::size_t groups, std::size_t linksOfGroup);

    /// The relay's target port.
    [[nodiscard]] std::uint16_t listenerPort() const { return listener.port(); }

    /// Registers all links at the engine at \a port, unless they are registered, and opens every group's socket.
    void registerLinks(std::uint16_t port);
    /// Waits until the relay at \a port works: until the engine replies to an unregistered link, or another relay
    /// forwards a datagram.
    void waitForRelay(std::uint16_t port, bool isEngine);
    /// One round; ends when everything has arrived or after a time limit.
    LoadResult run(std::uint16_t port, const LoadShape &shape);

private:
    void registerBatch(std::uint16_t port, std::size_t first, std::size_t end);
    bool keepAlive(std::uint16_t port);
    void sendOne(std::uint16_t port);
    std::int64_t takeDelivered();
    void takeReplies(Udp &link);

    std::size_t linksPerGroup;
    std::vector<Udp> links;
    Udp listener;
    std::vector<std::byte> packet;
    std::vector<std::byte> buffer;
    std::vector<std::byte> srtAck;
    std::size_t nextLink = 0;
    std::uint32_t sequence = 0;
    int sinceAck = 0;
};
