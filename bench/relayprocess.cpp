// SPDX-License-Identifier: GPL-2.0-or-later
#include "relayprocess.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

RelayProcess::RelayProcess(const std::string &program, std::uint16_t listenPort, std::uint16_t targetPort, int core)
    : pid(fork())
{
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL); // ends with the parent process
        pinTo(core);
        const std::string path = programPath(program);
        execl(path.c_str(), program.c_str(), std::to_string(listenPort).c_str(), std::to_string(targetPort).c_str(),
              nullptr);
        std::perror(path.c_str());
        _exit(1);
    }
    if (pid < 0 || clock_getcpuclockid(pid, &clock) != 0) {
        std::perror("fork");
        std::exit(1);
    }
}

RelayProcess::~RelayProcess()
{
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
}

std::int64_t RelayProcess::cpuNs() const
{
    constexpr std::int64_t nsPerSecond = 1'000'000'000;
    timespec used{};
    if (clock_gettime(clock, &used) != 0) {
        std::fprintf(stderr, "a relay has ended\n");
        std::exit(1);
    }
    return used.tv_sec * nsPerSecond + used.tv_nsec;
}

void pinTo(int core)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<std::size_t>(core), &set);
    if (sched_setaffinity(0, sizeof set, &set) != 0) {
        std::perror("cannot pin to a core");
    }
}

std::string programPath(const std::string &program)
{
    return std::filesystem::read_symlink("/proc/self/exe").replace_filename(program).string();
}
