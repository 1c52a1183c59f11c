// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>
#include <QSignalBlocker>
#include <QUdpSocket>

#include <utility>

/// The largest payload of a UDP datagram: 65535 bytes minus the UDP header (RFC 768), over IPv6; over IPv4 it is 20
/// bytes less. A buffer of this size never truncates a datagram.
inline constexpr qint64 maxUdpPayloadBytes = 65527;

/// Holds one buffer of maxUdpPayloadBytes for reuse. A reader that runs in a nested event loop inside another reader's
/// handler gets a buffer of its own.
class SpareBuffer
{
public:
    [[nodiscard]] QByteArray take()
    {
        return spare.isEmpty() ? QByteArray(maxUdpPayloadBytes, Qt::Uninitialized) : std::exchange(spare, QByteArray());
    }
    void giveBack(QByteArray buffer) { spare = std::move(buffer); }

private:
    QByteArray spare;
};

/// Decides whether a reader tries to read a second datagram after the first. At a stream's usual rate datagrams arrive
/// one at a time, and the failing second read is one of five system calls per datagram. So after a pass that found a
/// single datagram the next pass reads one datagram only; the pass after that reads until the socket is empty, so that
/// datagrams do not accumulate.
class ReadAhead
{
public:
    /// Call at the start of a pass. Whether to read until nothing is pending.
    [[nodiscard]] bool beginPass() { return !std::exchange(expectsOne, false); }
    /// Call at the end of a pass, with the number of datagrams read and whether a read found none pending.
    void endPass(int datagrams, bool isEmpty) { expectsOne = datagrams == 1 && isEmpty; }

private:
    bool expectsOne = false;
};

/// Reads pending datagrams, including empty ones, from \a socket into \a buffer and calls \a handle with each as bytes
/// that are valid during the call. Ends when none is pending or \a isTimeOver, called before each read, returns true.
/// The handler may close the socket. Each call reads at least once, because Qt emits readyRead again only after a read.
template<typename IsTimeOver, typename Handler>
void drainDatagrams(QUdpSocket &socket, char *buffer, const IsTimeOver &isTimeOver, const Handler &handle)
{
    const auto read = [&socket, buffer, &handle] {
        const qint64 size = socket.readDatagram(buffer, maxUdpPayloadBytes);
        if (size >= 0) { // negative: an ICMP error caused by an earlier packet
            handle(QByteArray::fromRawData(buffer, size));
        }
    };
    bool triedToRead = false;
    // hasPendingDatagrams prints a warning for a closed socket.
    while (socket.state() != QAbstractSocket::UnconnectedState && !isTimeOver() && socket.hasPendingDatagrams()) {
        triedToRead = true;
        read();
    }
    if (!triedToRead && socket.state() != QAbstractSocket::UnconnectedState) {
        // hasPendingDatagrams can consume a pending ICMP error and return false. This read makes Qt emit readyRead
        // again; the blocker suppresses errorOccurred for an empty socket.
        const qint64 size = [&socket, buffer] {
            const QSignalBlocker silent(socket);
            return socket.readDatagram(buffer, maxUdpPayloadBytes);
        }();
        if (size >= 0) {
            handle(QByteArray::fromRawData(buffer, size));
        }
    }
}
