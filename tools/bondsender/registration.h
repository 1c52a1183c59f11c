// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "clock.h"
#include "packets.h"

#include <deque>
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
///
/// The receiver keeps one group for a sender, the one that the last REG1 to arrive has made. Where the way there and
/// back takes longer than retryInterval, a repeated REG1 makes the group in the first answer void; so a group that is
/// new to us replaces the one before. Answers can overtake one another, so the one before is tried again if the
/// receiver doesn't know the new one.
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
    /// A group that is gone sooner than this has been replaced by a REG1 of our own that was long under way: the next
    /// is repeated half as often, but not less often than the second of these.
    static constexpr std::chrono::milliseconds shortLife{20000};
    static constexpr std::chrono::milliseconds longestRetryInterval{8000};
    /// The answer to a REG2 is lost if it takes longer than this: more than any link takes that carries a live stream.
    static constexpr std::chrono::milliseconds longestAnswer{4000};

    Registration(const GroupId &newProposal, std::size_t linkCount);

    /// What has to be sent by \a now.
    [[nodiscard]] std::vector<Outgoing> due(TimePoint now);
    /// Takes the registration datagram \a datagram that came on the link \a index; others change nothing.
    Change take(std::size_t index, ByteView datagram, TimePoint now);
    /// Nothing has come on the registered \a link for too long: it has to join again.
    void linkFellSilent(std::size_t link, TimePoint now);

    [[nodiscard]] LinkState state(std::size_t link) const { return links[link].state; }
    /// The group that the links join or have joined.
    [[nodiscard]] std::optional<GroupId> groupId() const;

private:
    struct Question
    {
        GroupId group{};
        TimePoint asked;
    };
    struct Link
    {
        LinkState state = LinkState::Waiting;
        TimePoint nextTry;
        std::deque<Question> unanswered; ///< REG2s, oldest first: their answers don't say which group they are about
    };

    static void forgetLostAnswers(Link &link, TimePoint now);
    static std::optional<GroupId> takeQuestion(Link &link, TimePoint now);
    Change acceptGroup(ByteView datagram, TimePoint now);
    Change dropGroup(const GroupId &gone, TimePoint now);
    void joinAnew(TimePoint now);

    GroupId proposal;
    std::vector<GroupId> groups; ///< that may exist at the receiver; the last is the one to join
    std::vector<Link> links;
    TimePoint groupSince;     ///< when the last of them was accepted
    std::size_t reg1Link = 0; ///< takes turns, since a link may be dead
    std::optional<TimePoint> lastReg1;
    std::chrono::milliseconds reg1Interval = retryInterval;
};

} // namespace bondsender
