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

/// The bonding sender: distributes an SRT caller's datagrams over the registered links and forwards replies to the
/// caller. SRT ACKs arrive on every link and are forwarded each time; SRT ignores repeated ACKs.
class Sender
{
public:
    Sender(const Options &newOptions, Reporter &newReporter, TimePoint now);

    /// Opens all sockets. False, with the reason in \a error, on failure.
    [[nodiscard]] bool open(std::string &error);

    /// The sockets to poll.
    [[nodiscard]] std::vector<int> descriptors() const;
    /// Latest time for the next call of step, if no socket becomes readable before.
    [[nodiscard]] TimePoint nextDue(TimePoint now) const;
    /// Handles all pending work.
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
