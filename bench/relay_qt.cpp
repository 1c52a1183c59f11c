// SPDX-License-Identifier: GPL-2.0-or-later
// A minimal relay with Qt's classes, as the baseline of Qt's cost.
//   relay_qt LISTEN_PORT TARGET_PORT
#include "relaysockets.h"

#include <QCoreApplication>
#include <QNetworkDatagram>
#include <QUdpSocket>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QUdpSocket client;
    QUdpSocket target;
    if (!openRelaySockets(argc, argv, client, target)) {
        return 1;
    }
    QHostAddress sender;
    quint16 senderPort = 0;
    QObject::connect(&client, &QUdpSocket::readyRead, &client, [&] {
        while (client.hasPendingDatagrams()) {
            const QNetworkDatagram datagram = client.receiveDatagram();
            sender = datagram.senderAddress();
            senderPort = static_cast<quint16>(datagram.senderPort());
            target.write(datagram.data());
        }
    });
    QObject::connect(&target, &QUdpSocket::readyRead, &target, [&] {
        while (target.hasPendingDatagrams()) {
            client.writeDatagram(target.receiveDatagram().data(), sender, senderPort);
        }
    });
    return QCoreApplication::exec();
}
