// SPDX-License-Identifier: GPL-2.0-or-later
#include "udpport.h"

#include <QHostAddress>
#include <QUdpSocket>

bool bindExclusively(QUdpSocket &socket, quint16 port)
{
    // Without the reuse hint Qt leaves SO_REUSEADDR off. Linux shares a UDP port only among sockets that all have it
    // on, or all have SO_REUSEPORT on (socket(7)), so the port is this socket's alone.
    return socket.bind(QHostAddress::AnyIPv4, port, QAbstractSocket::DontShareAddress);
}

bool signalsOutliveErrors()
{
    return true;
}
