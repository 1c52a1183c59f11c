// SPDX-License-Identifier: GPL-2.0-or-later
// A bonding SRTLA sender for tests of the receiver, with impaired links.
#include "options.h"
#include "reporter.h"
#include "sender.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

using namespace bondsender;

namespace {

constexpr int exitFailed = 1;
constexpr int exitUsage = 2;
constexpr auto terminalInterval = std::chrono::seconds(1);

/// A descriptor that becomes readable when a handled signal arrives.
int openSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGUSR1}) {
        sigaddset(&signals, number);
    }
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC);
}

void waitFor(const std::vector<int> &descriptors, Clock::duration longest)
{
    std::vector<pollfd> polled;
    polled.reserve(descriptors.size());
    for (const int descriptor : descriptors) {
        polled.push_back({descriptor, POLLIN, 0});
    }
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(longest);
    const timespec time{seconds.count(), (longest - seconds).count()};
    ppoll(polled.data(), polled.size(), &time, nullptr);
}

void run(Sender &sender, Reporter &reporter, std::optional<Microseconds> reportEvery)
{
    const int signals = openSignals();
    TimePoint nextReport = Clock::now() + reportEvery.value_or(Microseconds{});
    for (;;) {
        const TimePoint now = Clock::now();
        sender.step(now);
        if (reportEvery && now >= nextReport) {
            reporter.totals(sender.snapshot(now));
            nextReport += *reportEvery;
        }
        signalfd_siginfo signal{};
        while (read(signals, &signal, sizeof signal) == sizeof signal) {
            reporter.totals(sender.snapshot(now));
            if (signal.ssi_signo != SIGUSR1) {
                close(signals);
                return;
            }
        }
        std::vector<int> descriptors = sender.descriptors();
        descriptors.push_back(signals);
        const TimePoint waitBegin = Clock::now();
        waitFor(descriptors, sender.nextDue(waitBegin) - waitBegin);
    }
}

} // namespace

int main(int argc, char **argv)
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    std::string error;
    std::optional<Options> options = parseOptions(arguments, error);
    if (!options) {
        std::fprintf(stderr, "bondsender: %s\n%s", error.c_str(), std::string(usageText).c_str());
        return exitUsage;
    }
    if (options->help) {
        std::fputs(std::string(usageText).c_str(), stdout);
        return 0;
    }
    const bool live = !options->json && isatty(STDOUT_FILENO) != 0;
    if (live && !options->reportEvery) {
        options->reportEvery = terminalInterval;
    }
    const TimePoint start = Clock::now();
    Reporter reporter(options->json ? Reporter::Form::Json : live ? Reporter::Form::Live : Reporter::Form::Text, start);
    Sender sender(*options, reporter, start);
    if (!sender.open(error)) {
        std::fprintf(stderr, "bondsender: %s\n", error.c_str());
        return exitFailed;
    }
    run(sender, reporter, options->reportEvery);
    return 0;
}
