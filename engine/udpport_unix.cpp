// SPDX-License-Identifier: GPL-2.0-or-later
#include "udpport.h"

#include <QHostAddress>
#include <QUdpSocket>

#include <sys/socket.h>

bool bindExclusively(QUdpSocket &socket, quint16 port)
{
    // The hint makes Qt set SO_REUSEADDR, with which Linux lets two UDP sockets hold one port. So first try the port
    // without it: that fails when anybody holds the port, in whatever way.
    if (!socket.bind(QHostAddress::AnyIPv4, port, QAbstractSocket::DontShareAddress)) {
        return false;
    }
    socket.close();
    if (!socket.bind(QHostAddress::AnyIPv4, port,
                     QAbstractSocket::DontShareAddress | QAbstractSocket::ReuseAddressHint)) {
        return false;
    }
    // The system asks both sides at the later one's bind: with the option off again on this side, nobody can join in.
    const int off = 0;
    ::setsockopt(static_cast<int>(socket.socketDescriptor()), SOL_SOCKET, SO_REUSEADDR, &off, sizeof off);
    return true;
}

bool signalsOutliveErrors()
{
    return true;
}
