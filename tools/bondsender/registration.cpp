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
        if (link.state == LinkState::joining && now >= link.nextTry) {
            outgoing.push_back({index, makeReg2(*group)});
            link.nextTry = now + retryInterval;
        }
    }
    return outgoing;
}

Registration::Change Registration::take(std::size_t link, ByteView datagram, TimePoint now)
{
    const bool joining = links[link].state == LinkState::joining;
    switch (classifyIncoming(datagram)) {
    case Incoming::groupCreated:
        return acceptGroup(datagram, now);
    case Incoming::linkRegistered:
        if (!joining) {
            return Change::none;
        }
        links[link].state = LinkState::registered;
        return Change::linkRegistered;
    case Incoming::linkRefused:
        if (!joining) {
            return Change::none;
        }
        links[link].nextTry = now + refusedInterval;
        return Change::linkRefused;
    case Incoming::groupUnknown:
        // Every link gets one; only the first of them tells something new.
        if (!joining) {
            return Change::none;
        }
        forgetGroup(now);
        return Change::groupGone;
    default:
        return Change::none;
    }
}

void Registration::linkFellSilent(std::size_t link, TimePoint now)
{
    if (group) {
        links[link] = {LinkState::joining, now};
    }
}

Registration::Change Registration::acceptGroup(ByteView datagram, TimePoint now)
{
    const auto id = groupIdOf(datagram);
    // The answer to an earlier REG1 that was repeated meanwhile names a group that the repetition has replaced; the
    // REG2 that follows is refused as unknown then, and registration begins anew.
    if (group || !id || !std::equal(id->begin(), id->begin() + senderHalfSize, proposal.begin())) {
        return Change::none;
    }
    group = id;
    std::ranges::fill(links, Link{LinkState::joining, now});
    return Change::groupCreated;
}

void Registration::forgetGroup(TimePoint now)
{
    group.reset();
    std::ranges::fill(links, Link{});
    nextReg1 = now;
}

} // namespace bondsender
