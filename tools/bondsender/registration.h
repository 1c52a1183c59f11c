// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "clock.h"
#include "packets.h"

#include <optional>
#include <vector>

namespace bondsender {

/// A datagram and the link that it is to leave on.
struct Outgoing
{
    std::size_t link = 0;
    Bytes datagram;
};

/// How a sender and its links get known to the receiver, and again when the receiver has forgotten them: REG1 on one
/// link until the receiver answers with a group, then REG2 on every link until each is registered. Decides only; knows
/// no socket and reads no clock.
class Registration
{
public:
    enum class LinkState { Waiting, Joining, Registered };
    /// What a datagram from the receiver has changed.
    enum class Change { None, GroupCreated, LinkRegistered, LinkRefused, GroupGone };

    /// Unanswered registrations are repeated this often.
    static constexpr std::chrono::milliseconds retryInterval{1000};
    /// A refused link tries again after this; the group that holds its endpoint has to time out at the receiver.
    static constexpr std::chrono::milliseconds refusedInterval{2000};

    Registration(const GroupId &newProposal, std::size_t linkCount);

    /// What has to be sent by \a now.
    [[nodiscard]] std::vector<Outgoing> due(TimePoint now);
    /// Takes the registration datagram \a datagram that came on the link \a index; others change nothing.
    Change take(std::size_t index, ByteView datagram, TimePoint now);
    /// Nothing has come on the registered \a link for too long: it has to join again.
    void linkFellSilent(std::size_t link, TimePoint now);

    [[nodiscard]] LinkState state(std::size_t link) const { return links[link].state; }
    [[nodiscard]] const std::optional<GroupId> &groupId() const { return group; }

private:
    struct Link
    {
        LinkState state = LinkState::Waiting;
        TimePoint nextTry;
        bool asked = false;       ///< a REG2 has gone out, and no answer has come yet
        bool staleAnswer = false; ///< the answer to a REG2 for a group since given up may still come
    };

    Change acceptGroup(ByteView datagram, TimePoint now);
    void forgetGroup(TimePoint now);

    GroupId proposal;
    std::optional<GroupId> group;
    std::vector<Link> links;
    std::size_t reg1Link = 0; ///< takes turns, since a link may be dead
    TimePoint nextReg1;
};

} // namespace bondsender
