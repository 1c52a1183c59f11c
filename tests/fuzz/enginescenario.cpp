// SPDX-License-Identifier: GPL-2.0-or-later
#include "enginescenario.h"

#include "check.h"

#include <QCoreApplication>
#include <QHashSeed>

#include <algorithm>
#include <cmath>

namespace {

constexpr std::size_t idBytes = 256;
constexpr std::size_t reg2Bytes = 258;

const Loopback &sharedLoopback()
{
    static const Loopback loopback;
    return loopback;
}

ReceiverModel makeModel()
{
    std::array<std::string, endpointCount> names;
    for (int i = 0; i < endpointCount; ++i) {
        names[static_cast<std::size_t>(i)] = Loopback::address(i) + ":" + std::to_string(sharedLoopback().port(i));
    }
    return {names, "127.0.0.1:" + std::to_string(sharedLoopback().listenerPort())};
}

const SrtlaEndpoint &endpointOf(int endpoint)
{
    // Created once, because every comparison uses all of them.
    static const std::array<SrtlaEndpoint, endpointCount> endpoints = [] {
        std::array<SrtlaEndpoint, endpointCount> made;
        for (int i = 0; i < endpointCount; ++i) {
            made[static_cast<std::size_t>(i)] = {QHostAddress(QString::fromStdString(Loopback::address(i))),
                                                 sharedLoopback().port(i)};
        }
        return made;
    }();
    return endpoints[static_cast<std::size_t>(endpoint)];
}

void comparePath(const SrtlaPath *path, const ReceiverModel::Link &link)
{
    require(path != nullptr, "a link is missing");
    require(path->lastActivityMs == link.lastMs, "a link's last activity");
    require(path->packets == link.packets && path->bytes == link.bytes, "a link's counters");
    require(std::equal(path->pendingAcks.begin(), path->pendingAcks.end(), link.pending.begin(), link.pending.end()),
            "a link's pending numbers");
}

bool isLinkTimeout(const std::string &line)
{
    return line.starts_with("TIMEOUT");
}

} // namespace

void prepareScenarios()
{
    static int argumentCount = 1;
    static char name[] = "fuzz";
    static char *arguments[] = {name, nullptr};
    static const QCoreApplication application(argumentCount, arguments);
    // A fixed seed: the same input iterates the hash tables in the same order in every process.
    QHashSeed::setDeterministicGlobalSeed();
}

EngineScenario::EngineScenario() : model(makeModel())
{
    QObject::connect(&engine, &SrtlaEngine::logMessage, &engine,
                     [this](const QString &line) { log.push_back(line.toStdString()); });
    start();
}

void EngineScenario::start()
{
    require(engine.start(0, QHostAddress(QHostAddress::LocalHost), sharedLoopback().listenerPort()), "no listen port");
    engine.time = 0;
    model.start();
    publishedMs = 0;
    publishedBytes = 0;
    log.clear();
}

void EngineScenario::sendDatagram(int endpoint, const std::string &datagram)
{
    sharedLoopback().sendFromEndpoint(endpoint, datagram, probe.clientSocket().localPort());
    probe.readPendingDatagrams();
    collected = sharedLoopback().collect();
    const std::vector<std::string> &answers = collected.atEndpoint[static_cast<std::size_t>(endpoint)];
    const std::string givenId =
        answers.size() == 1 && answers[0].size() == reg2Bytes ? answers[0].substr(2) : std::string();
    const std::size_t groupsBefore = model.allGroups().count(givenId);
    Expected expected = model.datagram(endpoint, datagram, givenId);
    require(expected.idIsGood, "a new group's id");
    if (groupsBefore == 0 && model.allGroups().contains(givenId)) {
        groupIds.push_back(givenId);
    }
    compare(std::move(expected));
}

void EngineScenario::sendDatagrams(int endpoint, const std::vector<std::string> &datagrams)
{
    Expected expected;
    for (const std::string &datagram : datagrams) {
        sharedLoopback().sendFromEndpoint(endpoint, datagram, probe.clientSocket().localPort());
        expected.append(model.datagram(endpoint, datagram, {}));
    }
    probe.readPendingDatagrams();
    collected = sharedLoopback().collect();
    compare(std::move(expected));
}

void EngineScenario::sendReply(std::size_t group, const std::string &datagram)
{
    const std::string id = groupId(group);
    const auto port = groupPorts.find(id);
    if (port == groupPorts.end() || !model.allGroups().contains(id)) {
        return;
    }
    sharedLoopback().sendFromListener(datagram, port->second);
    probe.readSrtDatagrams(QByteArray::fromStdString(id));
    collected = sharedLoopback().collect();
    compare(model.listenerDatagram(id, datagram));
}

void EngineScenario::advance(std::int64_t milliseconds)
{
    engine.time += milliseconds;
    model.now = engine.time;
}

void EngineScenario::cleanup()
{
    probe.cleanupSessions();
    const auto afterLinks = std::find_if_not(log.begin(), log.end(), isLinkTimeout);
    require(std::none_of(afterLinks, log.end(), isLinkTimeout), "a group was removed before another's link");
    collected = sharedLoopback().collect();
    compare(model.cleanup());
}

void EngineScenario::publishStatistics()
{
    int emissions = 0;
    const auto connection = QObject::connect(
        &engine, &SrtlaEngine::statisticsChanged, &engine,
        [this, &emissions](int groups, int paths, double megabits, quint64 packets, quint64 bytes) {
            ++emissions;
            std::size_t links = 0;
            for (const auto &[id, group] : model.allGroups()) {
                links += group.links.size();
            }
            const auto elapsed = static_cast<double>(std::max<std::int64_t>(model.now - publishedMs, 1));
            const double wanted = static_cast<double>(model.receivedBytes - publishedBytes) * 0.008 / elapsed;
            require(static_cast<std::size_t>(groups) == model.allGroups().size(), "the number of groups");
            require(static_cast<std::size_t>(paths) == links, "the number of links");
            require(std::abs(megabits - wanted) <= 1e-9 * std::max(wanted, 1.0), "the rate");
            require(packets == model.receivedPackets && bytes == model.receivedBytes, "the totals");
        });
    probe.publishStatistics();
    QObject::disconnect(connection);
    require(emissions == 1, "the statistics were not published once");
    publishedMs = model.now;
    publishedBytes = model.receivedBytes;
    collected = sharedLoopback().collect();
    compare({});
}

void EngineScenario::restart()
{
    engine.stop();
    collected = sharedLoopback().collect();
    compare(model.stop());
    start();
}

std::string EngineScenario::groupId(std::size_t group) const
{
    return groupIds.empty() ? std::string(idBytes, '\0') : groupIds[group % groupIds.size()];
}

void EngineScenario::compare(Expected expected)
{
    require(collected.atEndpoint == expected.toEndpoint, "the datagrams to the links");
    compareListener(expected, collected);
    std::ranges::sort(expected.log);
    std::ranges::sort(log);
    require(log == expected.log, "the log");
    log.clear();
    compareTables();
}

void EngineScenario::compareListener(const Expected &expected, const Arrivals &seen)
{
    require(seen.atListener.size() == expected.toListener.size(), "the number of datagrams to the listener");
    for (std::size_t i = 0; i < seen.atListener.size(); ++i) {
        const auto &[groupId, datagram] = expected.toListener[i];
        const auto &[port, arrived] = seen.atListener[i];
        require(arrived == datagram, "a datagram to the listener");
        require(groupPorts.try_emplace(groupId, port).first->second == port, "a group with two ports at the listener");
        for (const auto &[otherId, otherPort] : groupPorts) {
            require(otherId == groupId || otherPort != port || !model.allGroups().contains(otherId),
                    "two groups are one peer");
        }
    }
}

void EngineScenario::compareTables()
{
    require(static_cast<std::size_t>(probe.groups().size()) == model.allGroups().size(), "the table of groups");
    require(probe.receivedPackets() == model.receivedPackets, "the count of datagrams");
    qsizetype links = 0;
    for (const auto &[id, expected] : model.allGroups()) {
        const QByteArray key = QByteArray::fromStdString(id);
        const SrtlaGroup *const group = probe.group(key);
        require(group != nullptr && group->id == key, "a group is missing");
        require(group->senderId == QByteArray::fromStdString(expected.senderHalf), "a group's sender");
        require(group->lastActivityMs == expected.lastMs, "a group's last activity");
        require(group->hasReplyEndpoint == expected.carriedSrt, "the presence of a reply endpoint");
        require(SrtlaEndpoint{group->replyAddress, group->replyPort} == endpointOf(expected.replyEndpoint),
                "a group's reply endpoint");
        require((group->srtSocket != nullptr) == expected.hasSocket, "a group's socket");
        require(probe.senderIndex().value(endpointOf(expected.opener)) == key, "the index of openers");
        require(probe.sessionIndex().values(group->senderId) == QList{key}, "the index of senders");
        require(static_cast<std::size_t>(group->paths.size()) == expected.links.size(), "a group's links");
        for (const auto &[endpoint, link] : expected.links) {
            comparePath(probe.path(key, endpointOf(endpoint)), link);
            require(probe.pathIndex().value(endpointOf(endpoint)) == key, "the index of links");
            ++links;
        }
    }
    require(probe.pathIndex().size() == links, "stale entries in the index of links");
    require(probe.senderIndex().size() == probe.groups().size(), "stale entries in the index of openers");
    require(probe.sessionIndex().size() == probe.groups().size(), "stale entries in the index of senders");
}
