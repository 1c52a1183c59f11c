// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "clock.h"
#include "packets.h"

#include <deque>
#include <optional>
#include <vector>

namespace bondsender {

/// A datagram and the link to send it on.
struct Outgoing
{
    std::size_t link = 0;
    Bytes datagram;
};

/// Registration of a sender and its links, also after a restart of the receiver: REG1 on one link until the receiver
/// responds with a group, then REG2 on every link until each is registered. Uses no socket and no clock.
///
/// The receiver keeps one group per sender, that of the last REG1. If the round-trip time exceeds retryInterval, a
/// repeated REG1 invalidates the group of the first response; so a new group replaces the previous one. Responses can
/// be reordered, so the previous group is tried again if the new one is unknown to the receiver.
class Registration
{
public:
    enum class LinkState { Waiting, Joining, Registered };
    /// Effect of a datagram from the receiver.
    enum class Change { None, GroupCreated, LinkRegistered, LinkRefused, GroupGone };

    /// Retry interval of registrations.
    static constexpr std::chrono::milliseconds retryInterval{1000};
    /// Retry interval after REG_ERR; the group with the endpoint has to time out at the receiver.
    static constexpr std::chrono::milliseconds refusedInterval{2000};
    /// A group removed sooner than this was replaced by an own delayed REG1: the retry interval is doubled, up to the
    /// second value.
    static constexpr std::chrono::milliseconds shortLife{20000};
    static constexpr std::chrono::milliseconds longestRetryInterval{8000};
    /// A response to a REG2 counts as lost after this time, which exceeds the round-trip time of any usable link.
    static constexpr std::chrono::milliseconds responseTimeout{4000};

    Registration(const GroupId &newProposal, std::size_t linkCount);

    /// The datagrams to send at \a now.
    [[nodiscard]] std::vector<Outgoing> due(TimePoint now);
    /// Handles the registration datagram \a datagram received on the link \a index; others are ignored.
    Change take(std::size_t index, ByteView datagram, TimePoint now);
    /// The registered \a link is silent and has to join again.
    void linkFellSilent(std::size_t link, TimePoint now);

    [[nodiscard]] LinkState state(std::size_t link) const { return links[link].state; }
    /// The current group.
    [[nodiscard]] std::optional<GroupId> groupId() const;

private:
    struct PendingReg2
    {
        GroupId group{};
        TimePoint sentAt;
    };
    struct Link
    {
        LinkState state = LinkState::Waiting;
        TimePoint nextTry;
        std::deque<PendingReg2> unanswered; ///< REG2s, oldest first: responses don't contain the group
    };

    static void dropLostReg2s(Link &link, TimePoint now);
    static std::optional<GroupId> takeUnansweredReg2(Link &link, TimePoint now);
    Change acceptGroup(ByteView datagram, TimePoint now);
    Change dropGroup(const GroupId &gone, TimePoint now);
    void rejoin(TimePoint now);

    GroupId proposal;
    std::vector<GroupId> groups; ///< possible groups at the receiver; the last one is joined
    std::vector<Link> links;
    TimePoint groupSince;     ///< time of the last group
    std::size_t reg1Link = 0; ///< alternates, since a link may be down
    std::optional<TimePoint> lastReg1;
    std::chrono::milliseconds reg1Interval = retryInterval;
};

} // namespace bondsender
