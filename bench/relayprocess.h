// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <sys/types.h>

/// A relay process pinned to one core; killed by the destructor.
class RelayProcess
{
public:
    /// Runs \a program from this program's folder with the two ports as arguments.
    RelayProcess(const std::string &program, std::uint16_t listenPort, std::uint16_t targetPort, int core);
    RelayProcess(const RelayProcess &) = delete;
    RelayProcess &operator=(const RelayProcess &) = delete;
    ~RelayProcess();

    /// User and kernel time of the process in nanoseconds.
    [[nodiscard]] std::int64_t cpuNs() const;

private:
    pid_t pid;
    clockid_t clock{};
};

/// Pins the calling process to one core.
void pinTo(int core);

/// The path of a program in this program's folder.
[[nodiscard]] std::string programPath(const std::string &program);
