// SPDX-License-Identifier: GPL-2.0-or-later
// The cheapest relay with QUdpSocket: reads into one buffer until the socket is empty. The difference from the engine's
// cost is the cost of SRTLA, acknowledgements included.
//   relay_qtread LISTEN_PORT TARGET_PORT

#include <QCoreApplication>
#include <QHostAddress>
#include <QUdpSocket>
#include <QVariant>

#include <array>

namespace {

constexpr int receiveBufferBytes = 8 * 1024 * 1024; // as the engine
constexpr size_t maxDatagramBytes = 65527;

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (argc != 3) {
        qCritical("usage: relay_qtread LISTEN_PORT TARGET_PORT");
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
