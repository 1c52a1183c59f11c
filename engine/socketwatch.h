// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QHash>
#include <QPointer>
#include <QSocketNotifier>

#include <memory>

class QAbstractSocket;

/// Tells many sockets that something has arrived, at the price of watching one.
///
/// Qt's event loop on Linux gives every watched socket to poll(2) at every turn, and the system looks at each: with a
/// socket per group, one datagram costs more the more senders there are. Here epoll(7) watches the sockets, and the
/// event loop only epoll's own descriptor. On Windows the system posts a message per event and nothing is to be gained;
/// there this class leaves the sockets as they are.
class SocketWatch
{
public:
    SocketWatch();
    ~SocketWatch();
    SocketWatch(const SocketWatch &) = delete;
    SocketWatch &operator=(const SocketWatch &) = delete;

    /// Takes over from the event loop the watching of \a socket, which must be connected, for as long as it is open. It
    /// signals as before, but for one thing: a slot of readyRead that runs an event loop of its own before it has read
    /// is called again and again there. Where the system refuses, the event loop keeps the socket.
    void add(QAbstractSocket &socket);

private:
    void passOn();

    int epoll = -1;
    std::unique_ptr<QSocketNotifier> readiness;
    /// By the sockets' descriptors: who in Qt wants to know. Null once the socket has been closed.
    QHash<int, QPointer<QSocketNotifier>> waiting;
};
