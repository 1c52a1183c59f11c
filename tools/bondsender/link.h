// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "impairment.h"
#include "inflight.h"
#include "options.h"
#include "scheduler.h"
#include "udpsocket.h"

#include <optional>
#include <string>
#include <vector>

namespace bondsender {

/// What a link has done, in datagrams where nothing else is said.
struct LinkCounters
{
    std::uint64_t sent = 0; ///< handed to the road, whatever became of them there
    std::uint64_t sentBytes = 0;
    std::uint64_t streamSent = 0;   ///< of them the caller's
    std::uint64_t received = 0;     ///< that came through the road back
    std::uint64_t acknowledged = 0; ///< packets, by SRTLA ACKs
    std::uint64_t reportedLost = 0; ///< packets, by SRT NAKs
    std::uint64_t expired = 0;      ///< packets that nobody acknowledged in time
};

/// One link: a socket with a road in each direction, and what is known about how well it carries.
class Link
{
public:
    Link(const LinkOptions &options, const Endpoint &newReceiver, std::uint64_t seed);

    /// Opens the socket; the reason of a failure is then in errno.
    [[nodiscard]] bool open();
    void startStream(TimePoint now);
    /// Goes on from another source port when it is time; returns whether it did.
    bool rebindIfDue(TimePoint now);

    /// Sends a control datagram.
    void send(Bytes datagram, TimePoint now);
    /// Sends a datagram of the caller's, and remembers it until it is acknowledged if it is a data packet.
    void sendStream(const Bytes &datagram, TimePoint now);
    /// Takes what the socket holds onto the road back.
    void readSocket(TimePoint now);
    /// Lets what has reached the end of the road go to the receiver.
    void deliver(TimePoint now);
    /// The next datagram from the receiver that has come all the way.
    [[nodiscard]] std::optional<Bytes> takeReply(TimePoint now);
    /// When deliver or takeReply next have something.
    [[nodiscard]] std::optional<TimePoint> nextDue() const;

    void keepaliveAnswered(std::uint64_t stamp, TimePoint now);
    void acknowledgedOnLink(const std::vector<std::uint32_t> &sequences);
    void acknowledgedUpTo(std::uint32_t sequence) { inFlight.takeBefore(sequence); }
    void reportedLost(const SequenceRange &range);
    /// Forgets what is older than anybody waits for, and old losses.
    void age(TimePoint now);

    [[nodiscard]] TimePoint heardAt() const { return lastHeard; }
    [[nodiscard]] LinkLoad load(bool registered, TimePoint now) const;
    [[nodiscard]] const std::string &address() const { return name; }
    [[nodiscard]] std::uint16_t port() const { return socket.localPort(); }
    [[nodiscard]] int descriptor() const { return socket.descriptor(); }
    [[nodiscard]] bool isCut(TimePoint now) const { return up.isCut(now); }
    [[nodiscard]] std::size_t unacknowledged() const { return inFlight.size(); }
    [[nodiscard]] Microseconds roundTrip() const { return rtt; }
    [[nodiscard]] const LinkCounters &counters() const { return count; }
    [[nodiscard]] const Road::Counters &upCounters() const { return up.counters(); }
    [[nodiscard]] const Road::Counters &downCounters() const { return down.counters(); }

private:
    std::string name;
    Endpoint receiver;
    UdpSocket socket;
    Road up;
    Road down;
    std::vector<Microseconds> rebinds; ///< those to come, soonest last
    std::optional<TimePoint> streamStart;
    InFlight inFlight;
    double penalty = 0;
    TimePoint penaltySince;
    TimePoint lastHeard;
    Microseconds rtt{};
    LinkCounters count;
};

} // namespace bondsender
