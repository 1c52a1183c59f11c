// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QHostAddress>
#include <QUdpSocket>

/// Holds the UDP port, or any free one with 0, as another receiver would; false when somebody has it already.
inline bool occupy(QUdpSocket &socket, quint16 port)
{
    return socket.bind(QHostAddress::AnyIPv4, port, QAbstractSocket::DontShareAddress);
}

/// Whether nobody holds the UDP port.
inline bool portIsFree(quint16 port)
{
    QUdpSocket socket;
    return occupy(socket, port);
}

/// A UDP port that nobody held a moment ago; 0 when there is none.
inline quint16 freePort()
{
    QUdpSocket socket;
    return occupy(socket, 0) ? socket.localPort() : quint16(0);
}
