// SPDX-License-Identifier: GPL-2.0-or-later
#include "socketwatch.h"

#include <QAbstractSocket>
#include <QCoreApplication>
#include <QEvent>

#include <algorithm>
#include <array>
#include <sys/epoll.h>
#include <unistd.h>

namespace {

/// How many sockets are told at one turn of the event loop; the others wait for the next one.
constexpr int socketsPerTurn = 64;

QSocketNotifier *readNotifier(const QAbstractSocket &socket)
{
    const auto notifiers = socket.findChildren<QSocketNotifier *>();
    const auto reading = std::ranges::find(notifiers, QSocketNotifier::Read, &QSocketNotifier::type);
    return reading == notifiers.end() ? nullptr : *reading;
}

} // namespace

SocketWatch::SocketWatch() = default;

SocketWatch::~SocketWatch()
{
    readiness.reset();
    if (epoll >= 0) {
        ::close(epoll);
    }
}

void SocketWatch::add(QAbstractSocket &socket)
{
    QSocketNotifier *const notifier = readNotifier(socket);
    if (notifier == nullptr) {
        return;
    }
    if (epoll < 0) {
        epoll = ::epoll_create1(EPOLL_CLOEXEC);
        if (epoll < 0) {
            return;
        }
        readiness = std::make_unique<QSocketNotifier>(epoll, QSocketNotifier::Read);
        QObject::connect(readiness.get(), &QSocketNotifier::activated, readiness.get(), [this] { passOn(); });
    }
    const auto descriptor = static_cast<int>(socket.socketDescriptor());
    epoll_event event{.events = EPOLLIN, .data = {.fd = descriptor}};
    if (::epoll_ctl(epoll, EPOLL_CTL_ADD, descriptor, &event) == 0) {
        // Without a descriptor Qt's notifier stays off however often the socket turns it on again; it still passes on
        // the events that it is sent.
        notifier->setSocket(-1);
        waiting.insert(descriptor, notifier);
    }
}

void SocketWatch::passOn()
{
    std::array<epoll_event, socketsPerTurn> events{};
    const int count = ::epoll_wait(epoll, events.data(), socketsPerTurn, 0);
    for (int i = 0; i < count; ++i) {
        // One that was told before may have closed this one, or even opened another with its descriptor: that one then
        // finds nothing to read, which every socket's owner has to expect.
        const QPointer<QSocketNotifier> notifier = waiting.value(events.at(static_cast<size_t>(i)).data.fd);
        if (notifier) {
            QEvent readable(QEvent::SockAct);
            QCoreApplication::sendEvent(notifier, &readable);
        }
    }
}
