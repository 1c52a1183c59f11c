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

/// What the receiver has to do in answer to one event.
struct Expected
{
    std::array<std::vector<std::string>, endpointCount> toEndpoint;
    /// The group's id and the datagram.
    std::vector<std::pair<std::string, std::string>> toListener;
    /// Every line of the event; groups' removals by time-out come after all links'.
    std::vector<std::string> log;
    /// False when the id that the receiver gave a new group is none it may give.
    bool idIsGood = true;

    /// What one more event adds.
    void append(const Expected &later);
};

/// The rules of the receiver over again, as plainly as they can be written: no index, no cache, no socket. Shares no
/// code with the engine, its constants and texts included.
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
        int wayBack = 0;
        bool carriedSrt = false;
        std::int64_t lastMs = 0;
        bool facesListener = false;
    };

    /// How endpoints and the listener are written in log lines: "address:port".
    ReceiverModel(std::array<std::string, endpointCount> endpointNames, std::string listenerName);

    /// \a givenId is what the receiver answered a REG1 with; no other datagram looks at it.
    Expected datagram(int endpoint, const std::string &datagram, const std::string &givenId);
    /// A datagram of the listener to the group, which may be gone.
    [[nodiscard]] Expected listenerDatagram(const std::string &groupId, const std::string &datagram) const;
    Expected cleanup();
    /// The totals stay until the next start.
    Expected stop();
    /// Begins a session: time and totals from zero.
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
