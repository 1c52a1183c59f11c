// SPDX-License-Identifier: GPL-2.0-or-later
#include "link.h"

#include <algorithm>
#include <cmath>

namespace bondsender {
namespace {

using namespace std::chrono_literals;

// Keepalives are echoed every second; a link whose echo is half a second late counts as quiet.
constexpr auto quietAfter = 1500ms;
// Time limit for the acknowledgement of a packet, longer than the round-trip time of a slow mobile link.
constexpr auto acknowledgementTimeout = 2000ms;
// Half-life of the penalty for a reported loss.
constexpr auto penaltyHalfLife = 250ms;
// Different random seeds for the two directions.
constexpr std::uint64_t downSeedOffset = 0x9E3779B97F4A7C15;

} // namespace

Link::Link(const LinkOptions &options, const Endpoint &newReceiver, std::uint64_t seed)
    : name(options.address), receiver(newReceiver), up(options.impairment, seed),
      down(options.impairment, seed ^ downSeedOffset), rebinds(options.rebinds)
{
    std::ranges::sort(rebinds, std::ranges::greater{});
}

bool Link::open()
{
    const auto local = makeEndpoint(name, 0);
    UdpSocket fresh;
    if (!local || !fresh.open(*local)) {
        return false;
    }
    socket = std::move(fresh);
    return true;
}

void Link::startStream(TimePoint now)
{
    streamStart = now;
    up.startStream(now);
    down.startStream(now);
}

bool Link::rebindIfDue(TimePoint now)
{
    if (!streamStart || rebinds.empty() || now < *streamStart + rebinds.back()) {
        return false;
    }
    rebinds.pop_back();
    return open();
}

void Link::send(Bytes datagram, TimePoint now)
{
    ++count.sent;
    count.sentBytes += datagram.size();
    up.push(std::move(datagram), now);
}

void Link::sendStream(const Bytes &datagram, TimePoint now)
{
    ++count.streamSent;
    if (const auto sequence = dataSequence(datagram)) {
        inFlight.add(*sequence, now);
    }
    send(datagram, now);
}

void Link::readSocket(TimePoint now)
{
    while (auto datagram = socket.receive()) {
        if (datagram->from == receiver) {
            down.push(std::move(datagram->bytes), now);
        }
    }
}

void Link::deliver(TimePoint now)
{
    while (const auto datagram = up.pop(now)) {
        socket.send(*datagram, receiver);
    }
}

std::optional<Bytes> Link::takeReply(TimePoint now)
{
    auto datagram = down.pop(now);
    if (datagram) {
        ++count.received;
        lastHeard = now;
    }
    return datagram;
}

std::optional<TimePoint> Link::nextDue() const
{
    const auto upDue = up.nextDue();
    const auto downDue = down.nextDue();
    if (upDue && downDue) {
        return std::min(*upDue, *downDue);
    }
    return upDue ? upDue : downDue;
}

void Link::keepaliveAnswered(std::uint64_t stamp, TimePoint now)
{
    const auto sent = TimePoint(Microseconds(stamp));
    if (sent <= now) {
        rtt = std::chrono::duration_cast<Microseconds>(now - sent);
    }
}

void Link::acknowledgedOnLink(const std::vector<std::uint32_t> &sequences)
{
    count.acknowledged += sequences.size();
    for (const std::uint32_t sequence : sequences) {
        inFlight.take(sequence);
    }
}

void Link::reportedLost(const SequenceRange &range)
{
    const std::size_t packets = inFlight.take(range);
    count.reportedLost += packets;
    penalty += static_cast<double>(packets);
}

void Link::age(TimePoint now)
{
    count.expired += inFlight.takeOlderThan(now - acknowledgementTimeout);
    const std::chrono::duration<double> elapsed = now - penaltySince;
    penalty *= std::exp2(-elapsed / std::chrono::duration<double>(penaltyHalfLife));
    penaltySince = now;
}

LinkLoad Link::load(bool registered, TimePoint now) const
{
    return {registered, now - lastHeard > quietAfter, inFlight.size(), penalty};
}

} // namespace bondsender
