// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "loopback.h"

#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// Expected effect of one event.
struct Expected
{
    std::array<std::vector<std::string>, endpointCount> toEndpoint;
    /// The group's id and the datagram.
    std::vector<std::pair<std::string, std::string>> toListener;
    /// All log lines of the event; time-outs of groups come after those of links.
    std::vector<std::string> log;
    /// False when the id of a new group is invalid.
    bool idIsGood = true;

    /// Adds the effect of a further event.
    void append(const Expected &later);
};

/// A simple second implementation of the receiver's rules: no index, no cache, no socket. Shares no code, constants or
/// texts with the engine.
class ReceiverModel
{
public:
    struct Link
    {
        std::int64_t lastMs = 0;
        std::vector<std::uint32_t> pending;
        std::uint64_t packets = 0;
        std::uint64_t bytes = 0;
    };
    struct Group
    {
        std::string senderHalf;
        int opener = 0;
        std::map<int, Link> links;
        int replyEndpoint = 0;
        bool carriedSrt = false;
        std::int64_t lastMs = 0;
        bool hasSocket = false;
    };

    /// Names of the endpoints and of the listener in log lines: "address:port".
    ReceiverModel(std::array<std::string, endpointCount> endpointNames, std::string listenerName);

    /// \a givenId is the id in the receiver's response to a REG1; unused for other datagrams.
    Expected datagram(int endpoint, const std::string &datagram, const std::string &givenId);
    /// A datagram from the listener to the group, which may have been removed.
    [[nodiscard]] Expected listenerDatagram(const std::string &groupId, const std::string &datagram) const;
    Expected cleanup();
    /// The totals stay until the next start.
    Expected stop();
    /// Starts a session: time and totals are 0.
    void start();

    std::int64_t now = 0;
    std::uint64_t receivedPackets = 0;
    std::uint64_t receivedBytes = 0;
    [[nodiscard]] const std::map<std::string, Group> &allGroups() const { return groups; }

private:
    void open(int endpoint, const std::string &datagram, const std::string &givenId, Expected &expected);
    void join(int endpoint, const std::string &groupId, Expected &expected);
    void linkPacket(int endpoint, const std::string &datagram, Expected &expected);
    void remove(const std::string &groupId, const std::string &reason, Expected &expected);
    /// The id of the group that the endpoint is a link of; empty without one.
    [[nodiscard]] std::string groupOf(int endpoint) const;

    std::array<std::string, endpointCount> names;
    std::string listener;
    std::map<std::string, Group> groups;
    std::set<std::string> receiverHalvesSeen;
};
