// SPDX-License-Identifier: GPL-2.0-or-later
#include "udpport.h"

#include <QUdpSocket>
#include <QVariant>

void enlargeReceiveBuffer(QUdpSocket &socket)
{
    socket.setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, wantedReceiveBufferBytes);
}
