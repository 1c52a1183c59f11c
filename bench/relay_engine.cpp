// SPDX-License-Identifier: GPL-2.0-or-later
// The engine in a separate process.
//   relay_engine LISTEN_PORT TARGET_PORT
//   relay_engine --memory    prints the memory per group and link as one JSON object

#include "srtlaengine.h"
#include "srtlagroup.h"
#include "srtlapackets.h"

#include <QCoreApplication>

#include <cstdio>
#include <malloc.h>
#include <sys/resource.h>

/// Passes datagrams directly to an engine.
struct EngineProbe
{
    SrtlaEngine &engine;

    void handleDatagram(const QByteArray &datagram, const SrtlaEndpoint &sender) const
    {
        engine.handleDatagram(datagram, sender);
    }
    [[nodiscard]] QByteArray groupOf(const SrtlaEndpoint &sender) const { return engine.senderIndex.value(sender); }
};

namespace {

constexpr quint16 firstPort = 1024;
constexpr int groups = 1000;
constexpr int linksPerGroup = 4;

/// Raises the descriptor limit, because each group has a socket.
void raiseFileLimit()
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

size_t allocatedBytes()
{
    return mallinfo2().uordblks;
}

/// An endpoint by number, without a socket.
SrtlaEndpoint endpoint(int number)
{
    constexpr quint32 loopbackNet = 0x7f010000;
    constexpr int portsPerAddress = 10000;
    return {QHostAddress(loopbackNet + static_cast<quint32>(number / portsPerAddress)),
            static_cast<quint16>(firstPort + number % portsPerAddress)};
}

void printMemory()
{
    SrtlaEngine engine;
    engine.start(0, QHostAddress(QHostAddress::LocalHost), firstPort);
    const EngineProbe probe{engine};
    const size_t empty = allocatedBytes();
    for (int group = 0; group < groups; ++group) {
        QByteArray reg1 = makeTypeOnly(SRTLA_TYPE_REG1);
        reg1.resize(registrationBytes, static_cast<char>(group));
        reg1[typeWordBytes] = static_cast<char>(group >> 8);
        probe.handleDatagram(reg1, endpoint(group * linksPerGroup));
    }
    const size_t withGroups = allocatedBytes();
    for (int link = 0; link < groups * linksPerGroup; ++link) {
        const int owner = link / linksPerGroup * linksPerGroup;
        probe.handleDatagram(makeReg2(probe.groupOf(endpoint(owner))), endpoint(link));
    }
    const size_t withLinks = allocatedBytes();
    for (int group = 0; group < groups; ++group) {
        QByteArray control(srtHeaderBytes, '\0');
        control[0] = static_cast<char>(SRT_TYPE_ACK >> 8);
        probe.handleDatagram(control, endpoint(group * linksPerGroup));
    }
    const size_t withSockets = allocatedBytes();
    std::printf("{\"bytes_per_group\": %zu, \"bytes_per_link\": %zu, \"bytes_per_group_socket\": %zu}\n",
                (withGroups - empty) / groups, (withLinks - withGroups) / (size_t{groups} * linksPerGroup),
                (withSockets - withLinks) / groups);
}

} // namespace

int main(int argc, char **argv)
{
    raiseFileLimit();
    const QCoreApplication application(argc, argv);
    if (argc == 2 && qstrcmp(argv[1], "--memory") == 0) {
        printMemory();
        return 0;
    }
    if (argc != 3) {
        qCritical("usage: relay_engine LISTEN_PORT TARGET_PORT | --memory");
        return 2;
    }
    SrtlaEngine engine;
    const bool running = engine.start(QByteArray(argv[1]).toUShort(), QHostAddress(QHostAddress::LocalHost),
                                      QByteArray(argv[2]).toUShort());
    return running ? QCoreApplication::exec() : 1;
}
