// SPDX-License-Identifier: GPL-2.0-or-later
// The lower limit of a receiver's cost with QUdpSocket: reads into one buffer until the socket is empty, forwards with
// write and sends as many acknowledgements as SRTLA requires, without parsing the datagrams.
//   relay_qtread LISTEN_PORT TARGET_PORT
#include "relaysockets.h"

#include <QCoreApplication>
#include <QHostAddress>
#include <QUdpSocket>

#include <array>

namespace {

constexpr size_t maxDatagramBytes = 65527;
constexpr int datagramsPerAck = 10;
constexpr qint64 ackBytes = 44;
constexpr int links = 3; // the listener's replies are SRT ACKs, which are sent over every link

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QUdpSocket client;
    QUdpSocket target;
    if (!openRelaySockets(argc, argv, client, target)) {
        return 1;
    }
    static std::array<char, maxDatagramBytes> buffer;
    QHostAddress sender;
    quint16 senderPort = 0;
    int unacknowledged = 0;
    QObject::connect(&client, &QUdpSocket::readyRead, &client, [&] {
        qint64 size = 0;
        while ((size = client.readDatagram(buffer.data(), buffer.size(), &sender, &senderPort)) >= 0) {
            if (++unacknowledged == datagramsPerAck) {
                unacknowledged = 0;
                client.writeDatagram(buffer.data(), ackBytes, sender, senderPort);
            }
            target.write(buffer.data(), size);
        }
    });
    QObject::connect(&target, &QUdpSocket::readyRead, &target, [&] {
        qint64 size = 0;
        while ((size = target.readDatagram(buffer.data(), buffer.size())) >= 0) {
            for (int link = 0; link < links; ++link) {
                client.writeDatagram(buffer.data(), size, sender, senderPort);
            }
        }
    });
    return QCoreApplication::exec();
}
