// SPDX-License-Identifier: GPL-2.0-or-later
#include "registration.h"

#include <algorithm>

namespace bondsender {

Registration::Registration(const GroupId &newProposal, std::size_t linkCount) : proposal(newProposal), links(linkCount)
{
}

std::optional<GroupId> Registration::groupId() const
{
    return groups.empty() ? std::nullopt : std::optional(groups.back());
}

std::vector<Outgoing> Registration::due(TimePoint now)
{
    std::vector<Outgoing> outgoing;
    if (groups.empty()) {
        if (!lastReg1 || now - *lastReg1 >= reg1Interval) {
            outgoing.push_back({reg1Link, makeReg1(proposal)});
            reg1Link = (reg1Link + 1) % links.size();
            lastReg1 = now;
        }
        return outgoing;
    }
    for (std::size_t index = 0; index < links.size(); ++index) {
        Link &link = links[index];
        if (link.state == LinkState::Joining && now >= link.nextTry) {
            outgoing.push_back({index, makeReg2(groups.back())});
            link.nextTry = now + retryInterval;
            dropLostReg2s(link, now);
            link.unanswered.push_back({groups.back(), now});
        }
    }
    return outgoing;
}

Registration::Change Registration::take(std::size_t index, ByteView datagram, TimePoint now)
{
    const Incoming kind = classifyIncoming(datagram);
    if (kind == Incoming::GroupCreated) {
        return acceptGroup(datagram, now);
    }
    if (kind != Incoming::LinkRegistered && kind != Incoming::LinkRefused && kind != Incoming::GroupUnknown) {
        return Change::None;
    }
    Link &link = links[index];
    const auto requested = takeUnansweredReg2(link, now);
    if (!requested) {
        return Change::None; // a duplicate
    }
    if (kind == Incoming::GroupUnknown) {
        return dropGroup(*requested, now);
    }
    if (requested != groupId() || link.state != LinkState::Joining) {
        return Change::None;
    }
    if (kind == Incoming::LinkRefused) {
        link.nextTry = now + refusedInterval;
        return Change::LinkRefused;
    }
    link.state = LinkState::Registered;
    groups.erase(groups.begin(), groups.end() - 1); // the other groups do not exist any more
    return Change::LinkRegistered;
}

void Registration::linkFellSilent(std::size_t link, TimePoint now)
{
    if (!groups.empty()) {
        links[link].state = LinkState::Joining;
        links[link].nextTry = now;
    }
}

void Registration::dropLostReg2s(Link &link, TimePoint now)
{
    while (!link.unanswered.empty() && now - link.unanswered.front().sentAt > responseTimeout) {
        link.unanswered.pop_front();
    }
}

/// The group of a response on \a link: responses arrive in the order of the REG2s, except for lost ones.
std::optional<GroupId> Registration::takeUnansweredReg2(Link &link, TimePoint now)
{
    dropLostReg2s(link, now);
    if (link.unanswered.empty()) {
        return std::nullopt;
    }
    const GroupId group = link.unanswered.front().group;
    link.unanswered.pop_front();
    return group;
}

Registration::Change Registration::acceptGroup(ByteView datagram, TimePoint now)
{
    const auto id = groupIdOf(datagram);
    if (!id || !std::equal(id->begin(), id->begin() + senderHalfSize, proposal.begin()) ||
        std::ranges::find(groups, *id) != groups.end()) {
        return Change::None;
    }
    groups.push_back(*id);
    groupSince = now;
    rejoin(now);
    return Change::GroupCreated;
}

Registration::Change Registration::dropGroup(const GroupId &gone, TimePoint now)
{
    const bool wasJoined = gone == groupId();
    std::erase(groups, gone);
    if (!wasJoined) {
        return Change::None; // each link gets a REG_NGP; only the first has an effect
    }
    if (groups.empty()) {
        const bool shortLived = now - groupSince < shortLife;
        reg1Interval = shortLived ? std::min(2 * reg1Interval, longestRetryInterval) : retryInterval;
    }
    rejoin(now);
    return Change::GroupGone;
}

void Registration::rejoin(TimePoint now)
{
    for (Link &link : links) {
        link.state = groups.empty() ? LinkState::Waiting : LinkState::Joining;
        link.nextTry = now;
    }
}

} // namespace bondsender
