// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QNetworkDatagram>
#include <QSignalBlocker>
#include <QUdpSocket>

/// The largest payload of a UDP datagram over IPv4: 65535 bytes less the IP and UDP headers. Receiving with it never
/// cuts a datagram, and saves Qt from asking for the size first. That question is not only a system call: on Windows it
/// can be answered with 0 by an error still pending, and the datagram behind the error would then be read as empty.
inline constexpr qint64 maxUdpPayloadBytes = 65507;

/// Takes every pending datagram off \a socket, empty ones included, and gives each to \a handle. The handler may close
/// the socket. Connected to readyRead, this keeps the signal coming whatever the system reports in between.
template<typename Handler> void drainDatagrams(QUdpSocket &socket, const Handler &handle)
{
    bool triedToRead = false;
    // A closed socket warns when it is asked.
    while (socket.state() != QAbstractSocket::UnconnectedState && socket.hasPendingDatagrams()) {
        triedToRead = true;
        const QNetworkDatagram received = socket.receiveDatagram(maxUdpPayloadBytes);
        if (received.isValid()) { // an ICMP error that a former packet caused is no datagram
            handle(received);
        }
    }
    if (!triedToRead && socket.state() != QAbstractSocket::UnconnectedState) {
        // Asking for pending datagrams can itself take a pending ICMP error off the socket and then find none. Qt would
        // wait for a read before it signals again, so read, silently: finding nothing is no error worth telling.
        const QNetworkDatagram received = [&socket] {
            const QSignalBlocker silent(socket);
            return socket.receiveDatagram(maxUdpPayloadBytes);
        }();
        if (received.isValid()) {
            handle(received);
        }
    }
}
