// SPDX-License-Identifier: GPL-2.0-or-later
#include "receivermodel.h"

namespace {

constexpr std::size_t registrationSize = 258;
constexpr std::size_t idSize = 256;
constexpr std::size_t halfSize = 128;
constexpr std::size_t largest = 1500;
constexpr std::size_t srtHeader = 16;
constexpr std::size_t batch = 10;
constexpr std::int64_t idleTimeoutMs = 8000;

std::string shortName(const std::string &id)
{
    constexpr auto digits = "0123456789abcdef";
    std::string name;
    for (const char c : id.substr(0, 6)) {
        const auto value = static_cast<unsigned char>(c);
        name += digits[value / 16U];
        name += digits[value % 16U];
    }
    return name;
}

bool startsWith(const std::string &datagram, unsigned char first, unsigned char second)
{
    return datagram.size() >= 2 && static_cast<unsigned char>(datagram[0]) == first &&
           static_cast<unsigned char>(datagram[1]) == second;
}

std::uint32_t sequenceOf(const std::string &datagram)
{
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        number = number * 256U + static_cast<unsigned char>(datagram[i]);
    }
    return number;
}

std::string acknowledgement(const std::vector<std::uint32_t> &numbers)
{
    std::string ack("\x91\0\0\0", 4);
    for (const std::uint32_t number : numbers) {
        for (const unsigned shift : {24U, 16U, 8U, 0U}) {
            ack += static_cast<char>((number >> shift) & 0xFFU);
        }
    }
    return ack;
}

} // namespace

void Expected::append(const Expected &later)
{
    for (std::size_t i = 0; i < toEndpoint.size(); ++i) {
        toEndpoint[i].insert(toEndpoint[i].end(), later.toEndpoint[i].begin(), later.toEndpoint[i].end());
    }
    toListener.insert(toListener.end(), later.toListener.begin(), later.toListener.end());
    log.insert(log.end(), later.log.begin(), later.log.end());
    idIsGood = idIsGood && later.idIsGood;
}

ReceiverModel::ReceiverModel(std::array<std::string, endpointCount> endpointNames, std::string listenerName)
    : names(std::move(endpointNames)), listener(std::move(listenerName))
{
}

Expected ReceiverModel::datagram(int endpoint, const std::string &datagram, const std::string &givenId)
{
    Expected expected;
    ++receivedPackets;
    receivedBytes += datagram.size();
    if (datagram.empty() || datagram.size() > largest) {
        return expected;
    }
    if (datagram.size() == registrationSize && startsWith(datagram, 0x92, 0x00)) {
        open(endpoint, datagram, givenId, expected);
    } else if (datagram.size() == registrationSize && startsWith(datagram, 0x92, 0x01)) {
        join(endpoint, datagram.substr(2), expected);
    } else if (!groupOf(endpoint).empty()) {
        linkPacket(endpoint, datagram, expected);
    }
    return expected;
}

void ReceiverModel::open(int endpoint, const std::string &datagram, const std::string &givenId, Expected &expected)
{
    const std::string senderHalf = datagram.substr(2, halfSize);
    std::vector<std::string> sameSender;
    for (const auto &[id, group] : groups) {
        if (group.senderHalf == senderHalf) {
            sameSender.push_back(id);
        }
    }
    for (const std::string &id : sameSender) {
        remove(id, "Neue Sitzung desselben Senders", expected);
    }
    std::vector<std::string> sameOpener;
    for (const auto &[id, group] : groups) {
        if (group.opener == endpoint) {
            sameOpener.push_back(id);
        }
    }
    for (const std::string &id : sameOpener) {
        remove(id, "Neu-Registrierung", expected);
    }
    expected.idIsGood = givenId.size() == idSize && givenId.starts_with(senderHalf) &&
                        receiverHalvesSeen.insert(givenId.substr(halfSize)).second;
    groups[givenId] = {
        .senderHalf = senderHalf, .opener = endpoint, .links = {}, .replyEndpoint = endpoint, .lastMs = now};
    expected.toEndpoint[static_cast<std::size_t>(endpoint)].push_back("\x92\x01" + givenId);
    expected.log.push_back("REG1 | Neue Gruppe " + shortName(givenId) + " von " +
                           names[static_cast<std::size_t>(endpoint)]);
}

void ReceiverModel::join(int endpoint, const std::string &groupId, Expected &expected)
{
    std::vector<std::string> &answers = expected.toEndpoint[static_cast<std::size_t>(endpoint)];
    const auto found = groups.find(groupId);
    if (found == groups.end()) {
        answers.emplace_back("\x92\x11");
        return;
    }
    const std::string present = groupOf(endpoint);
    if (!present.empty() && present != groupId) {
        answers.emplace_back("\x92\x10");
        return;
    }
    Group &group = found->second;
    if (present.empty()) {
        group.links[endpoint].lastMs = now;
        expected.log.push_back("REG3 | Weg " + names[static_cast<std::size_t>(endpoint)] + " verbunden, Gruppe " +
                               shortName(groupId));
    }
    group.lastMs = now;
    group.replyEndpoint = endpoint;
    answers.emplace_back("\x92\x02");
}

void ReceiverModel::linkPacket(int endpoint, const std::string &datagram, Expected &expected)
{
    const std::string id = groupOf(endpoint);
    Group &group = groups.at(id);
    Link &link = group.links.at(endpoint);
    std::vector<std::string> &answers = expected.toEndpoint[static_cast<std::size_t>(endpoint)];
    link.lastMs = now;
    group.lastMs = now;
    ++link.packets;
    link.bytes += datagram.size();
    if (startsWith(datagram, 0x90, 0x00)) {
        answers.push_back(datagram);
        return;
    }
    if (datagram.size() < srtHeader) {
        return;
    }
    group.replyEndpoint = endpoint;
    group.carriedSrt = true;
    if (static_cast<unsigned char>(datagram[0]) < 0x80) {
        link.pending.push_back(sequenceOf(datagram));
        if (link.pending.size() == batch) {
            answers.push_back(acknowledgement(link.pending));
            link.pending.clear();
        }
    }
    if (!group.hasSocket) {
        group.hasSocket = true;
        expected.log.push_back("SRT | Gruppe " + shortName(id) + " → " + listener);
    }
    expected.toListener.emplace_back(id, datagram);
}

Expected ReceiverModel::listenerDatagram(const std::string &groupId, const std::string &datagram) const
{
    Expected expected;
    const auto found = groups.find(groupId);
    if (found == groups.end() || found->second.links.empty()) {
        return expected;
    }
    const Group &group = found->second;
    if (startsWith(datagram, 0x80, 0x02)) {
        for (const auto &[endpoint, link] : group.links) {
            expected.toEndpoint[static_cast<std::size_t>(endpoint)].push_back(datagram);
        }
    } else if (group.carriedSrt) {
        expected.toEndpoint[static_cast<std::size_t>(group.replyEndpoint)].push_back(datagram);
    }
    return expected;
}

Expected ReceiverModel::cleanup()
{
    Expected expected;
    std::vector<std::string> gone;
    for (auto &[id, group] : groups) {
        for (auto link = group.links.begin(); link != group.links.end();) {
            if (now - link->second.lastMs > idleTimeoutMs) {
                expected.log.push_back("TIMEOUT | Weg " + names[static_cast<std::size_t>(link->first)] + " entfernt");
                link = group.links.erase(link);
            } else {
                ++link;
            }
        }
        if (group.links.empty() && now - group.lastMs > idleTimeoutMs) {
            gone.push_back(id);
        }
    }
    for (const std::string &id : gone) {
        remove(id, "Timeout", expected);
    }
    return expected;
}

Expected ReceiverModel::stop()
{
    Expected expected;
    while (!groups.empty()) {
        remove(std::string(groups.begin()->first), "Receiver gestoppt", expected);
    }
    return expected;
}

void ReceiverModel::start()
{
    now = 0;
    receivedPackets = 0;
    receivedBytes = 0;
}

void ReceiverModel::remove(const std::string &groupId, const std::string &reason, Expected &expected)
{
    expected.log.push_back("GRUPPE | " + shortName(groupId) + " entfernt: " + reason);
    groups.erase(groupId);
}

std::string ReceiverModel::groupOf(int endpoint) const
{
    for (const auto &[id, group] : groups) {
        if (group.links.contains(endpoint)) {
            return id;
        }
    }
    return {};
}
