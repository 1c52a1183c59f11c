// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QHostAddress>
#include <QUdpSocket>

/// Binds \a socket exclusively to the UDP port, or to a free one with 0, as another receiver would; false if it is
/// taken.
inline bool occupy(QUdpSocket &socket, quint16 port)
{
    return socket.bind(QHostAddress::AnyIPv4, port, QAbstractSocket::DontShareAddress);
}

/// Whether the UDP port is free.
inline bool portIsFree(quint16 port)
{
    QUdpSocket socket;
    return occupy(socket, port);
}

/// A UDP port that was free at the call; 0 without one.
inline quint16 freePort()
{
    QUdpSocket socket;
    return occupy(socket, 0) ? socket.localPort() : quint16(0);
}
