// SPDX-License-Identifier: GPL-2.0-or-later
#include "relaysockets.h"

#include "engine/udpport.h"

#include <QUdpSocket>
#include <QVariant>

bool openRelaySockets(int argc, char **argv, QUdpSocket &client, QUdpSocket &target)
{
    if (argc != 3) {
        qCritical("usage: %s LISTEN_PORT TARGET_PORT", argv[0]);
        return false;
    }
    if (!client.bind(QHostAddress::AnyIPv4, QByteArray(argv[1]).toUShort())) {
        qCritical("%s", qPrintable(client.errorString()));
        return false;
    }
    target.connectToHost(QHostAddress(QHostAddress::LocalHost), QByteArray(argv[2]).toUShort());
    for (QUdpSocket *socket : {&client, &target}) {
        socket->setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, wantedReceiveBufferBytes);
    }
    return true;
}
