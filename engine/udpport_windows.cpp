// SPDX-License-Identifier: GPL-2.0-or-later
#include "udpport.h"

#include <QHostAddress>
#include <QUdpSocket>

#include <winsock2.h>
// mstcpip.h needs the headers above.
#include <mswsock.h>

namespace {

// A datagram to a closed link causes an ICMP error, which Windows reports at the socket's next read by default. Reading
// the datagrams of the other links would be delayed. A failure of the call has no further effect.
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
    // Without the reuse hint Qt sets SO_EXCLUSIVEADDRUSE, which protects the port against earlier and later sockets
    // with SO_REUSEADDR. With the hint Qt would also set SO_REUSEADDR, and any program could take the port over.
    if (!socket.bind(QHostAddress::AnyIPv4, port, QAbstractSocket::DontShareAddress)) {
        return false;
    }
    ignoreUnreachableLinks(socket);
    return true;
}

bool readyReadSurvivesIcmpError()
{
    // Wine reports the error as FD_CLOSE and no event after it, although the datagrams can be read. Untested on
    // Windows.
    return false;
}
