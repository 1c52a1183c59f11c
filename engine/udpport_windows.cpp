// SPDX-License-Identifier: GPL-2.0-or-later
#include "udpport.h"

#include <QHostAddress>
#include <QUdpSocket>

bool bindExclusively(QUdpSocket &socket, quint16 port)
{
    // Without the reuse hint Qt sets SO_EXCLUSIVEADDRUSE, the one option that Windows honours against sockets with
    // SO_REUSEADDR, whether they were there before or come later. With the hint Qt would set SO_REUSEADDR as well, and
    // anybody could take the port over.
    return socket.bind(QHostAddress::AnyIPv4, port, QAbstractSocket::DontShareAddress);
}

bool signalsOutliveErrors()
{
    // Wine reports the error as FD_CLOSE, and nothing on that socket after it; the datagrams can be read all the same.
    // Nobody has watched Windows itself yet.
    return false;
}
