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

/// Counters of a link, in datagrams unless noted.
struct LinkCounters
{
    std::uint64_t sent = 0; ///< including datagrams dropped by impairments
    std::uint64_t sentBytes = 0;
    std::uint64_t streamSent = 0;   ///< of these from the caller
    std::uint64_t received = 0;     ///< from the receiver
    std::uint64_t acknowledged = 0; ///< packets, by SRTLA ACKs
    std::uint64_t reportedLost = 0; ///< packets, by SRT NAKs
    std::uint64_t expired = 0;      ///< packets not acknowledged in time
};

/// One link: a socket, an impaired path in each direction, and the link's quality.
class Link
{
public:
    Link(const LinkOptions &options, const Endpoint &newReceiver, std::uint64_t seed);

    /// Opens the socket; errno has the reason of a failure.
    [[nodiscard]] bool open();
    void startStream(TimePoint now);
    /// Changes the source port if a rebind is due; returns whether it did.
    bool rebindIfDue(TimePoint now);

    /// Sends a control datagram.
    void send(Bytes datagram, TimePoint now);
    /// Sends a datagram of the caller; a data packet is kept in flight until it is acknowledged.
    void sendStream(const Bytes &datagram, TimePoint now);
    /// Reads the socket into the path from the receiver.
    void readSocket(TimePoint now);
    /// Sends datagrams at the end of the path to the receiver.
    void deliver(TimePoint now);
    /// The next datagram at the end of the path from the receiver.
    [[nodiscard]] std::optional<Bytes> takeReply(TimePoint now);
    /// Time of the next datagram for deliver or takeReply.
    [[nodiscard]] std::optional<TimePoint> nextDue() const;

    void keepaliveAnswered(std::uint64_t stamp, TimePoint now);
    void acknowledgedOnLink(const std::vector<std::uint32_t> &sequences);
    void acknowledgedUpTo(std::uint32_t sequence) { inFlight.takeBefore(sequence); }
    void reportedLost(const SequenceRange &range);
    /// Removes expired packets and reduces the loss penalty.
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
    [[nodiscard]] const ImpairedPath::Counters &upCounters() const { return up.counters(); }
    [[nodiscard]] const ImpairedPath::Counters &downCounters() const { return down.counters(); }

private:
    std::string name;
    Endpoint receiver;
    UdpSocket socket;
    ImpairedPath up;
    ImpairedPath down;
    std::vector<Microseconds> rebinds; ///< pending, the next one last
    std::optional<TimePoint> streamStart;
    InFlight inFlight;
    double penalty = 0;
    TimePoint penaltySince;
    TimePoint lastHeard;
    Microseconds rtt{};
    LinkCounters count;
};

} // namespace bondsender
