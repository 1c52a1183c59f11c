// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "engineprobe.h"
#include "loopback.h"
#include "receivermodel.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// An engine whose time stands still until it is moved.
class SteppedEngine : public SrtlaEngine
{
public:
    qint64 time = 0;

protected:
    [[nodiscard]] qint64 nowMs() const override { return time; }
};

/// Plays events to a real engine, over real sockets, and to the model, and ends the process when the two differ: in
/// what is sent to whom, in the log, in the statistics or in the tables.
class EngineScenario
{
public:
    EngineScenario();

    void sendDatagram(int endpoint, const std::string &datagram);
    /// Several at once, which wait for the engine together; no REG1 may be among them.
    void sendDatagrams(int endpoint, const std::vector<std::string> &datagrams);
    /// From the SRT listener to the socket that the group with this number once had; nothing when it has none.
    void sendReply(std::size_t group, const std::string &datagram);
    void advance(std::int64_t milliseconds);
    void cleanup();
    void publishStatistics();
    void restart();

    /// The id of the group with this number in order of creation, gone ones included; zeros when there are none.
    [[nodiscard]] std::string groupId(std::size_t group) const;

private:
    void start();
    /// Compares what arrived and was logged, then the tables.
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
    /// What was collected before the model was asked, as a new group's id is only known from the answer.
    Arrivals collected;
};

/// Sets up what all scenarios of a process share: Qt's application, without which nothing is timed or notified.
void prepareScenarios();
