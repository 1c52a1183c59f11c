// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "udpport.h"

#include <QNetworkDatagram>
#include <QSignalBlocker>
#include <QUdpSocket>

/// The largest payload of a UDP datagram over IPv4: 65535 bytes less the IP and UDP headers. Receiving with it never
/// cuts a datagram, and saves Qt from asking for the size first. That question is not only a system call: on Windows it
/// can be answered with 0 by an error still pending, and the datagram behind the error would then be read as empty.
inline constexpr qint64 maxUdpPayloadBytes = 65507;

/// More than any system holds for one socket: Linux doubles the buffer that it is asked for, and charges the smallest
/// datagram with 768 bytes.
inline constexpr int mostPendingDatagrams = 2 * wantedReceiveBufferBytes / 768;

/// Takes every pending datagram off \a socket, empty ones included, and gives each to \a handle. The handler may close
/// the socket. Connected to readyRead, this keeps the signal coming whatever the system reports in between. What keeps
/// coming during the call faster than it is handled waits for the next signal after mostPendingDatagrams: the thread
/// has more to do than to serve a flood, and its event loop comes back here at once.
template<typename Handler> void drainDatagrams(QUdpSocket &socket, const Handler &handle)
{
    bool triedToRead = false;
    // A closed socket warns when it is asked.
    for (int taken = 0; taken < mostPendingDatagrams && socket.state() != QAbstractSocket::UnconnectedState &&
                        socket.hasPendingDatagrams();
         ++taken) {
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

/// Reads as drainDatagrams does, with a system call less for each datagram: it doesn't ask first. The read that finds
/// nothing makes the socket emit errorOccurred, so this is for one whose errors nobody listens to. What stands behind
/// an error is left to the next readyRead, which comes at once because reading turns the signal on again.
template<typename Handler> void drainUnasked(QUdpSocket &socket, const Handler &handle)
{
    for (int taken = 0; taken < mostPendingDatagrams && socket.state() != QAbstractSocket::UnconnectedState; ++taken) {
        const QNetworkDatagram received = socket.receiveDatagram(maxUdpPayloadBytes);
        if (!received.isValid()) {
            return;
        }
        handle(received);
    }
}
