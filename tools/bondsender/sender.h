// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "link.h"
#include "options.h"
#include "registration.h"
#include "reporter.h"
#include "udpsocket.h"

#include <optional>
#include <string>
#include <vector>

namespace bondsender {

/// The bonding sender: takes a caller's SRT datagrams, spreads them over the registered links, and gives the caller
/// what comes back. SRT ACKs come back on every link and go to the caller as often; SRT takes repeated ACKs without
/// harm.
class Sender
{
public:
    Sender(const Options &newOptions, Reporter &newReporter, TimePoint now);

    /// Opens all sockets. Returns false, and the reason in \a error, if one can't be opened.
    [[nodiscard]] bool open(std::string &error);

    /// The sockets to wait for.
    [[nodiscard]] std::vector<int> descriptors() const;
    /// When step has something to do, at the latest, if no socket gets readable before.
    [[nodiscard]] TimePoint nextDue(TimePoint now) const;
    /// Does everything that is due.
    void step(TimePoint now);

    [[nodiscard]] Snapshot snapshot(TimePoint now) const;

private:
    void readCaller(TimePoint now);
    void sendStream(const Bytes &datagram, TimePoint now);
    void takeReplies(TimePoint now);
    void takeReply(std::size_t index, const Bytes &datagram, TimePoint now);
    void takeRegistration(std::size_t index, const Bytes &datagram, TimePoint now);
    void tick(TimePoint now);
    void watchLink(std::size_t index, TimePoint now);
    [[nodiscard]] bool isRegistered(std::size_t index) const;

    Options options;
    Reporter &reporter;
    TimePoint started;
    UdpSocket callerSocket;
    std::optional<Endpoint> caller;
    std::vector<Link> links;
    std::vector<bool> wasCut;
    Registration registration;
    std::size_t previousLink = 0;
    TimePoint nextTick;
    TimePoint nextKeepalive;
    CallerCounters callerCount;
    std::uint64_t groupsCreated = 0;
};

} // namespace bondsender
