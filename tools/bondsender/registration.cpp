// SPDX-License-Identifier: GPL-2.0-or-later
#include "registration.h"

#include <algorithm>

namespace bondsender {

Registration::Registration(const GroupId &newProposal, std::size_t linkCount) : proposal(newProposal), links(linkCount)
{
}

std::vector<Outgoing> Registration::due(TimePoint now)
{
    std::vector<Outgoing> outgoing;
    if (!group) {
        if (now >= nextReg1) {
            outgoing.push_back({reg1Link, makeReg1(proposal)});
            reg1Link = (reg1Link + 1) % links.size();
            nextReg1 = now + retryInterval;
        }
        return outgoing;
    }
    for (std::size_t index = 0; index < links.size(); ++index) {
        Link &link = links[index];
        if (link.state == LinkState::Joining && now >= link.nextTry) {
            outgoing.push_back({index, makeReg2(*group)});
            link.nextTry = now + retryInterval;
            link.asked = true;
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
    Link &link = links[index];
    if (kind == Incoming::GroupUnknown && link.staleAnswer) {
        link.staleAnswer = false;
        return Change::None;
    }
    if (link.state != LinkState::Joining) {
        return Change::None;
    }
    switch (kind) {
    case Incoming::LinkRegistered:
        link.state = LinkState::Registered;
        link.asked = false;
        return Change::LinkRegistered;
    case Incoming::LinkRefused:
        link.nextTry = now + refusedInterval;
        link.asked = false;
        return Change::LinkRefused;
    case Incoming::GroupUnknown:
        link.asked = false;
        forgetGroup(now);
        return Change::GroupGone;
    default:
        return Change::None;
    }
}

void Registration::linkFellSilent(std::size_t link, TimePoint now)
{
    if (group) {
        links[link].state = LinkState::Joining;
        links[link].nextTry = now;
    }
}

Registration::Change Registration::acceptGroup(ByteView datagram, TimePoint now)
{
    const auto id = groupIdOf(datagram);
    // The answer to an earlier REG1 that was repeated meanwhile names a group that the repetition has replaced; the
    // REG2 that follows is refused as unknown then, and registration begins anew.
    if (group || !id || !std::equal(id->begin(), id->begin() + senderHalfSize, proposal.begin())) {
        return Change::None;
    }
    group = id;
    for (Link &link : links) {
        link.state = LinkState::Joining;
        link.nextTry = now;
    }
    return Change::GroupCreated;
}

void Registration::forgetGroup(TimePoint now)
{
    group.reset();
    // The receiver tells every link that has asked; only the first to be told is news.
    for (Link &link : links) {
        link.state = LinkState::Waiting;
        link.staleAnswer = link.asked;
        link.asked = false;
    }
    nextReg1 = now;
}

} // namespace bondsender
