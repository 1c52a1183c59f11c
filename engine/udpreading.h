// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>
#include <QSignalBlocker>
#include <QUdpSocket>

#include <utility>

/// The largest payload of a UDP datagram: 65535 bytes less the UDP header. That is IPv6's; IPv4 has 20 bytes less, for
/// its own header. Reading with it never cuts a datagram.
inline constexpr qint64 maxUdpPayloadBytes = 65527;

/// Keeps room for one datagram of maxUdpPayloadBytes for the next reader. A reader that is called by an event loop
/// inside another reader's handler finds none here and gets one of its own.
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

/// Tells a reader whether to look for a second datagram after the first. At a stream's ordinary rate datagrams come one
/// at a time, and the look costs one of five system calls. So after a turn that found one datagram and nothing behind
/// it, the next one reads a single datagram; the one after that looks again, so that nothing piles up however slowly
/// the event loop comes back.
class ArrivalRhythm
{
public:
    /// To be called when a turn of reading begins; whether it is to read until nothing is pending.
    [[nodiscard]] bool beginTurn() { return !std::exchange(expectsOne, false); }
    /// To be called when it ends, with the number of datagrams that it has brought and whether it found nothing more.
    void endTurn(int datagrams, bool foundNoMore) { expectsOne = datagrams == 1 && foundNoMore; }

private:
    bool expectsOne = false;
};

/// Takes pending datagrams, empty ones included, off \a socket into \a buffer and gives each to \a handle as bytes that
/// are valid during the call. Ends when none is pending or \a isTimeOver, asked before each one, says so. The handler
/// may close the socket. Connected to readyRead, this keeps the signal coming whatever the system reports in between.
template<typename IsTimeOver, typename Handler>
void drainDatagrams(QUdpSocket &socket, char *buffer, const IsTimeOver &isTimeOver, const Handler &handle)
{
    const auto read = [&socket, buffer, &handle] {
        const qint64 size = socket.readDatagram(buffer, maxUdpPayloadBytes);
        if (size >= 0) { // an ICMP error that a former packet caused is no datagram
            handle(QByteArray::fromRawData(buffer, size));
        }
    };
    bool triedToRead = false;
    // A closed socket warns when it is asked.
    while (socket.state() != QAbstractSocket::UnconnectedState && !isTimeOver() && socket.hasPendingDatagrams()) {
        triedToRead = true;
        read();
    }
    if (!triedToRead && socket.state() != QAbstractSocket::UnconnectedState) {
        // Asking for pending datagrams can itself take a pending ICMP error off the socket and then find none. Qt would
        // wait for a read before it signals again, so read, silently: finding nothing is no error worth telling.
        const qint64 size = [&socket, buffer] {
            const QSignalBlocker silent(socket);
            return socket.readDatagram(buffer, maxUdpPayloadBytes);
        }();
        if (size >= 0) {
            handle(QByteArray::fromRawData(buffer, size));
        }
    }
}
