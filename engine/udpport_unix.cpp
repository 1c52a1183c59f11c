// SPDX-License-Identifier: GPL-2.0-or-later
#include "udpport.h"

#include <QHostAddress>
#include <QUdpSocket>

bool bindExclusively(QUdpSocket &socket, quint16 port)
{
    // Without the reuse hint Qt does not set SO_REUSEADDR. Linux shares a UDP port only among sockets that all have
    // SO_REUSEADDR or all have SO_REUSEPORT (socket(7)), so the bind is exclusive.
    return socket.bind(QHostAddress::AnyIPv4, port, QAbstractSocket::DontShareAddress);
}

bool readyReadSurvivesIcmpError()
{
    return true;
}
