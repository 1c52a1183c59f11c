// SPDX-License-Identifier: GPL-2.0-or-later
#include "udpport.h"

#include <QHostAddress>
#include <QUdpSocket>

#include <winsock2.h>
// After the one that it builds on.
#include <mswsock.h>

namespace {

// A datagram to a link that has gone brings an ICMP error back, which Windows otherwise reports to whoever reads the
// socket next: one link's end would hold up the datagrams of all others. Where the system refuses, that stays so.
void ignoreUnreachableLinks(QUdpSocket &socket)
{
    BOOL reported = FALSE;
    DWORD nothingReturned = 0;
    WSAIoctl(static_cast<SOCKET>(socket.socketDescriptor()), SIO_UDP_CONNRESET, &reported, sizeof reported, nullptr, 0,
             &nothingReturned, nullptr, nullptr);
}

} // namespace

bool bindExclusively(QUdpSocket &socket, quint16 port)
{
    // Without the reuse hint Qt sets SO_EXCLUSIVEADDRUSE, the one option that Windows honours against sockets with
    // SO_REUSEADDR, whether they were there before or come later. With the hint Qt would set SO_REUSEADDR as well, and
    // anybody could take the port over.
    if (!socket.bind(QHostAddress::AnyIPv4, port, QAbstractSocket::DontShareAddress)) {
        return false;
    }
    ignoreUnreachableLinks(socket);
    return true;
}

bool signalsOutliveErrors()
{
    // Wine reports the error as FD_CLOSE, and nothing on that socket after it; the datagrams can be read all the same.
    // Nobody has watched Windows itself yet.
    return false;
}
