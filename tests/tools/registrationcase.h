// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "registration.h"

#include <algorithm>

// Shared by the tests of the registration: three links of one sender, and a receiver's datagrams.

inline constexpr std::size_t linkCount = 3;
inline constexpr bondsender::TimePoint start{std::chrono::seconds(100)};
inline const bondsender::Bytes reg3{0x92, 0x02};
inline const bondsender::Bytes regErr{0x92, 0x10};
inline const bondsender::Bytes regNgp{0x92, 0x11};

inline bondsender::GroupId idWith(std::uint8_t senderByte, std::uint8_t receiverByte)
{
    bondsender::GroupId id;
    id.fill(receiverByte);
    std::fill_n(id.begin(), bondsender::senderHalfSize, senderByte);
    return id;
}

inline const bondsender::GroupId proposal = idWith(0xAA, 0xAA);
inline const bondsender::GroupId group = idWith(0xAA, 0xBB);
inline const bondsender::GroupId otherGroup = idWith(0xAA, 0xCC);

/// A registration whose links have all joined `group` at `start`.
inline bondsender::Registration joined()
{
    bondsender::Registration registration(proposal, linkCount);
    (void)registration.due(start);
    registration.take(0, bondsender::makeReg2(group), start);
    (void)registration.due(start);
    for (std::size_t link = 0; link < linkCount; ++link) {
        registration.take(link, reg3, start);
    }
    return registration;
}

/// Whether \a outgoing is a REG2 for \a id on each link.
inline bool isReg2OnEveryLink(const std::vector<bondsender::Outgoing> &outgoing, const bondsender::GroupId &id)
{
    bool all = outgoing.size() == linkCount;
    for (std::size_t link = 0; all && link < linkCount; ++link) {
        all = outgoing[link].link == link && outgoing[link].datagram == bondsender::makeReg2(id);
    }
    return all;
}
