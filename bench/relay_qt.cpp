// SPDX-License-Identifier: GPL-2.0-or-later
// A minimal relay with Qt's classes, as baseline for Qt's cost.
//   relay_qt LISTEN_PORT TARGET_PORT

#include <QCoreApplication>
#include <QNetworkDatagram>
#include <QUdpSocket>
#include <QVariant>

namespace {

constexpr int receiveBufferBytes = 8 * 1024 * 1024; // as in the engine

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (argc != 3) {
        qCritical("usage: relay_qt LISTEN_PORT TARGET_PORT");
        return 2;
    }
    QUdpSocket client;
    QUdpSocket target;
    if (!client.bind(QHostAddress::AnyIPv4, QByteArray(argv[1]).toUShort())) {
        qCritical("%s", qPrintable(client.errorString()));
        return 1;
    }
    target.connectToHost(QHostAddress(QHostAddress::LocalHost), QByteArray(argv[2]).toUShort());
    client.setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, receiveBufferBytes);
    target.setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, receiveBufferBytes);

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
