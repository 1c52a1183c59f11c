// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "engineprobe.h"
#include "loopback.h"
#include "receivermodel.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// An engine with a simulated clock.
class SteppedEngine : public SrtlaEngine
{
public:
    qint64 time = 0;

protected:
    [[nodiscard]] qint64 nowMs() const override { return time; }
};

/// Applies events to a real engine with real sockets and to the model, and aborts the process when sent datagrams, log,
/// statistics or tables differ.
class EngineScenario
{
public:
    EngineScenario();

    void sendDatagram(int endpoint, const std::string &datagram);
    /// Several datagrams, queued before the engine reads; without REG1.
    void sendDatagrams(int endpoint, const std::vector<std::string> &datagrams);
    /// From the SRT listener to the socket of the group with this number; no effect without a socket.
    void sendReply(std::size_t group, const std::string &datagram);
    void advance(std::int64_t milliseconds);
    void cleanup();
    void publishStatistics();
    void restart();

    /// The id of the group with this number in order of creation, including removed ones; zeros without a group.
    [[nodiscard]] std::string groupId(std::size_t group) const;

private:
    void start();
    /// Compares the received datagrams and the log, then the tables.
    void compare(Expected expected);
    void compareListener(const Expected &expected, const Arrivals &seen);
    void compareTables();

    SteppedEngine engine;
    EngineProbe probe{engine};
    ReceiverModel model;
    std::vector<std::string> log;
    std::vector<std::string> groupIds;
    std::map<std::string, std::uint16_t> groupPorts;
    std::int64_t publishedMs = 0;
    std::uint64_t publishedBytes = 0;
    /// Collected before the model runs, because the id of a new group is known only from the engine's response.
    Arrivals collected;
};

/// Creates the QCoreApplication that timers and socket notifiers need.
void prepareScenarios();
