// SPDX-License-Identifier: GPL-2.0-or-later
#include "stopsignal.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

namespace {

// The signal handler writes to a pipe (async-signal-safe), which the event loop reads.
std::array<int, 2> wakePipe{-1, -1};

void wake(int)
{
    const int savedErrno = errno;
    const char byte = 0;
    // If the pipe is full, the event loop wakes up anyway.
    [[maybe_unused]] const ssize_t written = write(wakePipe[1], &byte, 1);
    errno = savedErrno;
}

} // namespace

void onStopSignal(std::function<void()> stop)
{
    if (pipe2(wakePipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        qFatal("A pipe could not be made");
    }
    auto *notifier = new QSocketNotifier(wakePipe[0], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [stop = std::move(stop)] {
        char byte = 0;
        while (read(wakePipe[0], &byte, 1) == 1) {
        }
        stop();
    });
    struct sigaction action{};
    action.sa_handler = wake;
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}
