// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <sys/types.h>

/// A relay in a process of its own, pinned to one core; it ends with this object.
class RelayProcess
{
public:
    /// Runs \a program from the folder of this one, with the two ports as its arguments.
    RelayProcess(const std::string &program, std::uint16_t listenPort, std::uint16_t targetPort, int core);
    RelayProcess(const RelayProcess &) = delete;
    RelayProcess &operator=(const RelayProcess &) = delete;
    ~RelayProcess();

    /// User and kernel time that the process has used so far, in nanoseconds.
    [[nodiscard]] std::int64_t cpuNs() const;

private:
    pid_t pid;
    clockid_t clock{};
};

/// Pins the calling process to one core.
void pinTo(int core);

/// The path of a program beside this one.
[[nodiscard]] std::string besideThis(const std::string &program);
