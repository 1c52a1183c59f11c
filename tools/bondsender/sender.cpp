// SPDX-License-Identifier: GPL-2.0-or-later
#include "sender.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <format>
#include <random>

namespace bondsender {
namespace {

using namespace std::chrono_literals;

// Well below the receiver's time-out of 8 s.
constexpr auto keepaliveInterval = 1000ms;
// Several keepalives without an echo: the receiver has removed the link, or the link is down.
constexpr auto silentAfter = 4000ms;
// Resolution of cuts, retries and time-outs.
constexpr auto tickInterval = 20ms;
// Number of id bytes in the receiver's log.
constexpr std::size_t shownIdBytes = 6;

std::uint64_t randomSeed()
{
    std::random_device device;
    return static_cast<std::uint64_t>(device()) << 32 | device();
}

/// The id proposal: the given bytes, filled up with pseudo-random bytes seeded by them; random without given bytes.
GroupId makeProposal(const std::vector<std::uint8_t> &id)
{
    std::seed_seq seeds(id.begin(), id.end());
    std::mt19937_64 random = id.empty() ? std::mt19937_64(randomSeed()) : std::mt19937_64(seeds);
    GroupId proposal;
    std::ranges::generate(proposal, [&random] { return static_cast<std::uint8_t>(random()); });
    std::ranges::copy(id, proposal.begin());
    return proposal;
}

std::string shortName(const GroupId &id)
{
    std::string name;
    for (std::size_t at = 0; at < shownIdBytes; ++at) {
        name += std::format("{:02x}", id[at]);
    }
    return name;
}

std::vector<Link> makeLinks(const Options &options)
{
    const auto receiver = makeEndpoint(options.receiverAddress, options.receiverPort);
    const std::uint64_t seed = options.seed.value_or(randomSeed());
    std::vector<Link> links;
    links.reserve(options.links.size());
    for (const LinkOptions &link : options.links) {
        links.emplace_back(link, receiver.value_or(Endpoint{}), seed + links.size());
    }
    return links;
}

} // namespace

Sender::Sender(const Options &newOptions, Reporter &newReporter, TimePoint now)
    : options(newOptions), reporter(newReporter), started(now), links(makeLinks(newOptions)), wasCut(links.size()),
      registration(makeProposal(newOptions.id), links.size()), nextTick(now), nextKeepalive(now)
{
}

bool Sender::open(std::string &error)
{
    if (!makeEndpoint(options.receiverAddress, options.receiverPort)) {
        error = "not an IPv4 address: " + options.receiverAddress;
        return false;
    }
    const auto local = makeEndpoint("127.0.0.1", options.listenPort);
    if (!local || !callerSocket.open(*local)) {
        error = std::format("UDP port {} can't be opened: {}", options.listenPort, std::strerror(errno));
        return false;
    }
    for (Link &link : links) {
        errno = EINVAL; // as the system for an invalid address
        if (!link.open()) {
            error = std::format("link {} can't be opened: {}", link.address(), std::strerror(errno));
            return false;
        }
    }
    reporter.event("listening", {{"port", std::to_string(callerSocket.localPort())}}, started);
    return true;
}

std::vector<int> Sender::descriptors() const
{
    std::vector<int> all{callerSocket.descriptor()};
    for (const Link &link : links) {
        all.push_back(link.descriptor());
    }
    return all;
}

TimePoint Sender::nextDue(TimePoint now) const
{
    TimePoint next = nextTick;
    for (const Link &link : links) {
        next = std::min(next, link.nextDue().value_or(next));
    }
    return std::max(next, now);
}

void Sender::step(TimePoint now)
{
    readCaller(now);
    for (Link &link : links) {
        link.readSocket(now);
    }
    takeReplies(now);
    if (now >= nextTick) {
        nextTick = now + tickInterval;
        tick(now);
    }
    for (Link &link : links) {
        link.deliver(now);
    }
}

void Sender::readCaller(TimePoint now)
{
    while (const auto datagram = callerSocket.receive()) {
        if (callerCount.packets == 0) {
            for (Link &link : links) {
                link.startStream(now);
            }
        }
        if (caller != datagram->from) {
            caller = datagram->from;
            reporter.event("caller", {{"port", std::to_string(caller->port)}}, now);
        }
        ++callerCount.packets;
        callerCount.bytes += datagram->bytes.size();
        sendStream(datagram->bytes, now);
    }
}

void Sender::sendStream(const Bytes &datagram, TimePoint now)
{
    std::vector<LinkLoad> loads;
    loads.reserve(links.size());
    for (std::size_t index = 0; index < links.size(); ++index) {
        loads.push_back(links[index].load(isRegistered(index), now));
    }
    const auto chosen = chooseLink(loads, previousLink);
    if (!chosen) {
        ++callerCount.unsent;
        return;
    }
    previousLink = *chosen;
    links[*chosen].sendStream(datagram, now);
}

void Sender::takeReplies(TimePoint now)
{
    for (std::size_t index = 0; index < links.size(); ++index) {
        while (const auto datagram = links[index].takeReply(now)) {
            takeReply(index, *datagram, now);
        }
    }
}

void Sender::takeReply(std::size_t index, const Bytes &datagram, TimePoint now)
{
    switch (classifyIncoming(datagram)) {
    case Incoming::Keepalive:
        if (const auto stamp = keepaliveStamp(datagram)) {
            links[index].keepaliveAnswered(*stamp, now);
        }
        break;
    case Incoming::SrtlaAck:
        links[index].acknowledgedOnLink(srtlaAckedNumbers(datagram));
        break;
    case Incoming::Srt:
        for (Link &link : links) {
            if (const auto sequence = srtAckedUpTo(datagram)) {
                link.acknowledgedUpTo(*sequence);
            }
            for (const SequenceRange &range : srtLossReport(datagram)) {
                link.reportedLost(range);
            }
        }
        if (caller) {
            ++callerCount.replies;
            callerSocket.send(datagram, *caller);
        }
        break;
    case Incoming::Malformed:
        break;
    default:
        takeRegistration(index, datagram, now);
    }
}

void Sender::takeRegistration(std::size_t index, const Bytes &datagram, TimePoint now)
{
    const auto groupName = [this] {
        const auto &id = registration.groupId();
        return id ? shortName(*id) : std::string();
    };
    const std::string lastGroup = groupName();
    switch (registration.take(index, datagram, now)) {
    case Registration::Change::GroupCreated:
        ++groupsCreated;
        reporter.event("groupCreated", {{"group", groupName()}}, now);
        nextTick = now;
        break;
    case Registration::Change::LinkRegistered:
        reporter.event("linkRegistered", {{"link", links[index].address()}, {"group", lastGroup}}, now);
        break;
    case Registration::Change::LinkRefused:
        reporter.event("linkRefused", {{"link", links[index].address()}}, now);
        break;
    case Registration::Change::GroupGone:
        reporter.event("groupGone", {{"group", lastGroup}}, now);
        nextTick = now;
        break;
    case Registration::Change::None:
        break;
    }
}

void Sender::tick(TimePoint now)
{
    const bool keepalive = now >= nextKeepalive;
    if (keepalive) {
        nextKeepalive = now + keepaliveInterval;
    }
    for (std::size_t index = 0; index < links.size(); ++index) {
        watchLink(index, now);
        if (keepalive && isRegistered(index)) {
            const auto stamp = std::chrono::duration_cast<Microseconds>(now.time_since_epoch()).count();
            links[index].send(makeKeepalive(static_cast<std::uint64_t>(stamp)), now);
        }
    }
    const bool hasNoGroup = !registration.groupId();
    for (Outgoing &outgoing : registration.due(now)) {
        if (hasNoGroup) {
            reporter.event("groupRequested", {{"link", links[outgoing.link].address()}}, now);
        }
        links[outgoing.link].send(std::move(outgoing.datagram), now);
    }
}

void Sender::watchLink(std::size_t index, TimePoint now)
{
    Link &link = links[index];
    link.age(now);
    if (isRegistered(index) && now - link.heardAt() > silentAfter) {
        registration.linkFellSilent(index, now);
        reporter.event("linkSilent", {{"link", link.address()}}, now);
    }
    if (link.isCut(now) != wasCut[index]) {
        wasCut[index] = !wasCut[index];
        reporter.event(wasCut[index] ? "cut" : "restored", {{"link", link.address()}}, now);
    }
    if (link.rebindIfDue(now)) {
        reporter.event("rebound", {{"link", link.address()}, {"port", std::to_string(link.port())}}, now);
    }
}

bool Sender::isRegistered(std::size_t index) const
{
    return registration.state(index) == Registration::LinkState::Registered;
}

Snapshot Sender::snapshot(TimePoint now) const
{
    Snapshot look;
    look.runningFor = std::chrono::duration_cast<Microseconds>(now - started);
    look.groupsCreated = groupsCreated;
    look.caller = callerCount;
    for (std::size_t index = 0; index < links.size(); ++index) {
        const Link &link = links[index];
        const auto state = registration.state(index);
        const std::string word = link.isCut(now)                                ? "cut"
                                 : state == Registration::LinkState::Registered ? "registered"
                                 : state == Registration::LinkState::Joining    ? "joining"
                                                                                : "waiting";
        look.links.push_back({link.address(), link.port(), word, link.roundTrip(), link.unacknowledged(),
                              link.counters(), link.upCounters(), link.downCounters()});
    }
    return look;
}

} // namespace bondsender
