// SPDX-License-Identifier: GPL-2.0-or-later
// The cheapest relay with QUdpSocket: reads into one buffer until the socket is empty. The difference from the engine's
// cost is the cost of SRTLA, acknowledgements included.
//   relay_qtread LISTEN_PORT TARGET_PORT
#include "relaysockets.h"

#include <QCoreApplication>
#include <QHostAddress>
#include <QUdpSocket>

#include <array>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QUdpSocket client;
    QUdpSocket target;
    if (!openRelaySockets(argc, argv, client, target)) {
        return 1;
    }
    constexpr size_t maxDatagramBytes = 65527;
    static std::array<char, maxDatagramBytes> buffer;
    QHostAddress sender;
    quint16 senderPort = 0;
    QObject::connect(&client, &QUdpSocket::readyRead, &client, [&] {
        qint64 size = 0;
        while ((size = client.readDatagram(buffer.data(), buffer.size(), &sender, &senderPort)) >= 0) {
            target.write(buffer.data(), size);
        }
    });
    QObject::connect(&target, &QUdpSocket::readyRead, &target, [&] {
        qint64 size = 0;
        while ((size = target.readDatagram(buffer.data(), buffer.size())) >= 0) {
            client.writeDatagram(buffer.data(), size, sender, senderPort);
        }
    });
    return QCoreApplication::exec();
}
