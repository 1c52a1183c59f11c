// SPDX-License-Identifier: GPL-2.0-or-later
// Empty datagrams, stalls of the thread, exclusive binding, proxies.
#include "enginefixture.h"

#include <QNetworkProxy>
#include <QScopeGuard>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// One second of 20 Mbit/s in SRT packets with seven transport stream packets each.
constexpr qsizetype packetBytes = 1316;
constexpr qsizetype oneSecondPackets = 20'000'000 / 8 / packetBytes;
/// Receive buffer space per such datagram, including the system's overhead.
constexpr qsizetype chargedPerPacket = 4096;

/// Number of packets that must survive a stall with the granted buffer size.
qsizetype mustSurvive(const QUdpSocket &socket)
{
    const int granted =
        const_cast<QUdpSocket &>(socket).socketOption(QAbstractSocket::ReceiveBufferSizeSocketOption).toInt();
    const qsizetype packets = std::min<qsizetype>(oneSecondPackets, granted / chargedPerPacket);
    qInfo("granted %d bytes: %lld packets must survive", granted, static_cast<long long>(packets));
    return packets;
}

} // namespace

class TestSrtlaEngineSockets : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void emptyDatagramsFromSendersDoNotStopTheReading();
    void emptyDatagramsFromTheListenerDoNotStopTheReading();
    void largeBuffersAreRequested();
    void aStallLosesNothingFromSenders();
    void aStallLosesNothingFromTheListener();
    void thePortIsNotShared_data();
    void thePortIsNotShared();
    void stopAndStartOnTheSamePortSucceeds();
    void noProxyIsUsed();
};

void TestSrtlaEngineSockets::emptyDatagramsFromSendersDoNotStopTheReading()
{
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    for (int round = 0; round < 10; ++round) {
        // All datagrams are queued before the engine reads.
        fixture.send(link, QByteArray());
        fixture.send(link, srtData(1));
        fixture.send(link, QByteArray());
        fixture.send(link, QByteArray());
        fixture.send(link, srtData(2));
        QCOMPARE(fixture.listener.receive(), srtData(1));
        QCOMPARE(fixture.listener.receive(), srtData(2));
    }
    QCOMPARE(fixture.probe.receivedPackets(), 2U + 50U);
    // The same for a single empty one.
    fixture.send(link, QByteArray());
    QTRY_COMPARE_WITH_TIMEOUT(fixture.probe.receivedPackets(), 53U, waitMs);
    fixture.send(link, srtData(3));
    QCOMPARE(fixture.listener.receive(), srtData(3));
}

void TestSrtlaEngineSockets::emptyDatagramsFromTheListenerDoNotStopTheReading()
{
    EngineFixture fixture;
    Peer link;
    QVERIFY(fixture.join(link, fixture.openGroup(link)));
    const quint16 srtPort = fixture.forwardHandshake(link);
    QVERIFY(srtPort != 0);
    for (int round = 0; round < 10; ++round) {
        fixture.reply(QByteArray(), srtPort);
        fixture.reply(typed(0x8001, 16), srtPort);
        fixture.reply(QByteArray(), srtPort);
        fixture.reply(typed(0x8002, 44), srtPort);
        QCOMPARE(link.receive(), QByteArray(""));
        QVERIFY(link.lastSenderPort != 0); // an empty datagram, not none
        QCOMPARE(link.receive(), typed(0x8001, 16));
        QCOMPARE(link.receive(), QByteArray(""));
        QVERIFY(link.lastSenderPort != 0); // an empty datagram, not none
        QCOMPARE(link.receive(), typed(0x8002, 44));
    }
    fixture.reply(QByteArray(), srtPort);
    QCOMPARE(link.receive(), QByteArray(""));
    QVERIFY(link.lastSenderPort != 0);
    fixture.reply(typed(0x8001, 20), srtPort);
    QCOMPARE(link.receive(), typed(0x8001, 20));
}

void TestSrtlaEngineSockets::largeBuffersAreRequested()
{
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    QVERIFY(fixture.forwardHandshake(link) != 0);
    const auto size = [](QUdpSocket &socket) {
        return socket.socketOption(QAbstractSocket::ReceiveBufferSizeSocketOption).toInt();
    };
    // The system's maximum, or the size for a stall of one second.
    Peer reference;
    reference.socket.setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, 4 * 1024 * 1024);
    const int grantable = size(reference.socket);
    if (Peer untouched; size(untouched.socket) >= grantable) {
        QSKIP("the default buffer size of this system is its maximum");
    }
    for (QUdpSocket *socket :
         {&fixture.probe.clientSocket(), static_cast<QUdpSocket *>(fixture.probe.group(id)->srtSocket.get())}) {
        QCOMPARE_GE(size(*socket), grantable);
    }
}

void TestSrtlaEngineSockets::aStallLosesNothingFromSenders()
{
    EngineFixture fixture;
    fixture.listener.socket.setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, 8 * 1024 * 1024);
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    const qsizetype count = mustSurvive(fixture.probe.clientSocket());
    QVERIFY(count > 0);
    // The engine is in this thread: it cannot read before the loop has ended.
    for (qsizetype i = 0; i < count; ++i) {
        fixture.send(link, srtData(static_cast<quint32>(i), packetBytes));
    }
    QTRY_COMPARE_WITH_TIMEOUT(fixture.probe.path(id, link.endpoint())->packets, static_cast<quint64>(count), waitMs);
    QCOMPARE(fixture.probe.path(id, link.endpoint())->bytes, static_cast<quint64>(count * packetBytes));
    const qsizetype forwarded = std::min(count, mustSurvive(fixture.listener.socket));
    for (qsizetype i = 0; i < forwarded; ++i) {
        QCOMPARE(fixture.listener.receive(), srtData(static_cast<quint32>(i), packetBytes));
    }
}

void TestSrtlaEngineSockets::aStallLosesNothingFromTheListener()
{
    EngineFixture fixture;
    Peer link;
    link.socket.setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, 8 * 1024 * 1024);
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    const quint16 srtPort = fixture.forwardHandshake(link);
    QVERIFY(srtPort != 0);
    const qsizetype count = std::min(mustSurvive(*fixture.probe.group(id)->srtSocket), mustSurvive(link.socket));
    QVERIFY(count > 0);
    for (qsizetype i = 0; i < count; ++i) {
        fixture.reply(srtData(static_cast<quint32>(i), packetBytes), srtPort);
    }
    for (qsizetype i = 0; i < count; ++i) {
        QCOMPARE(link.receive(), srtData(static_cast<quint32>(i), packetBytes));
    }
}

void TestSrtlaEngineSockets::thePortIsNotShared_data()
{
    QTest::addColumn<QHostAddress>("address");
    QTest::addColumn<QUdpSocket::BindMode>("mode");
    const QHostAddress any(QHostAddress::AnyIPv4);
    const QHostAddress loopback(QHostAddress::LocalHost);
    QTest::newRow("default") << any << QUdpSocket::BindMode(QUdpSocket::DefaultForPlatform);
    QTest::newRow("exclusive") << any << QUdpSocket::BindMode(QUdpSocket::DontShareAddress);
    QTest::newRow("reuse hint") << any << (QUdpSocket::DontShareAddress | QUdpSocket::ReuseAddressHint);
    QTest::newRow("shared") << any << (QUdpSocket::ShareAddress | QUdpSocket::ReuseAddressHint);
    QTest::newRow("shared, loopback only") << loopback << (QUdpSocket::ShareAddress | QUdpSocket::ReuseAddressHint);
}

void TestSrtlaEngineSockets::thePortIsNotShared()
{
    QFETCH(QHostAddress, address);
    QFETCH(QUdpSocket::BindMode, mode);
    SrtlaEngine engine;
    const SignalRecord record(engine);
    quint16 port = 0;
    {
        QUdpSocket holder;
        QVERIFY2(holder.bind(address, 0, mode), qPrintable(holder.errorString()));
        port = holder.localPort();
        QVERIFY2(!engine.start(port, QHostAddress(QHostAddress::LocalHost), 5002), "the engine joined another program");
        QCOMPARE(record.all.size(), 2);
        QVERIFY(record.all.first().startsWith(u"status UDP %1 konnte nicht geöffnet werden: "_s.arg(port)));
    }
    QVERIFY2(engine.start(port, QHostAddress(QHostAddress::LocalHost), 5002), qPrintable(record.all.join(u'\n')));
    QUdpSocket second;
    QVERIFY2(!second.bind(address, port, mode), "another program took the port over");
    Peer sender;
    sender.send(reg1(idProposal('a')), port);
    QCOMPARE(sender.receive().size(), 258);
}

void TestSrtlaEngineSockets::stopAndStartOnTheSamePortSucceeds()
{
    EngineFixture fixture;
    const quint16 port = fixture.port();
    for (int round = 0; round < 50; ++round) {
        Peer link;
        const QByteArray id = fixture.openGroup(link);
        QVERIFY(fixture.join(link, id));
        QVERIFY(fixture.forwardHandshake(link) != 0);
        fixture.engine.stop();
        QVERIFY2(fixture.engine.start(port, QHostAddress(QHostAddress::LocalHost), fixture.listener.socket.localPort()),
                 qPrintable(fixture.record.all.join(u'\n')));
    }
}

void TestSrtlaEngineSockets::noProxyIsUsed()
{
    Peer link;
    Peer listener;
    const QNetworkProxy former = QNetworkProxy::applicationProxy();
    const auto restore = qScopeGuard([&former] { QNetworkProxy::setApplicationProxy(former); });
    QNetworkProxy::setApplicationProxy({QNetworkProxy::Socks5Proxy, u"127.0.0.1"_s, 9}); // no proxy there

    SrtlaEngine engine;
    const SignalRecord record(engine);
    QVERIFY2(engine.start(0, QHostAddress(QHostAddress::LocalHost), listener.socket.localPort()),
             qPrintable(record.all.join(u'\n')));
    const quint16 port = EngineProbe{engine}.clientSocket().localPort();
    link.send(reg1(idProposal('a')), port);
    link.send(reg2(link.receive().sliced(2)), port);
    QCOMPARE(link.receive(), reg3);
    link.send(srtHandshake(), port);
    QCOMPARE(listener.receive(), srtHandshake());
}

QTEST_GUILESS_MAIN(TestSrtlaEngineSockets)
#include "tst_srtlaengine_sockets.moc"
