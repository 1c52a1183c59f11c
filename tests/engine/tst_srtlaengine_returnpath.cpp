// SPDX-License-Identifier: GPL-2.0-or-later
// Replies of the SRT listener and the links that they are sent over.
#include "enginefixture.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestSrtlaEngineReturnPath : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void acksGoToEveryLinkOnceAndOtherPacketsToOneLink_data();
    void acksGoToEveryLinkOnceAndOtherPacketsToOneLink();
    void repliesFollowTheLatestLink();
    void repliesFollowARepeatedReg2();
    void beforeTheFirstSrtPacketOnlyAcksAreSent_data();
    void beforeTheFirstSrtPacketOnlyAcksAreSent();
    void repliesOfAGroupWithoutLinksAreDiscarded();
    void repliesStillGoToALinkThatTimedOut();
    void repliesAreNotCounted();
    void repliesStayInTheirGroup();
    void everySocketErrorIsLogged();
    void groupWorksAfterASocketError();
};

void TestSrtlaEngineReturnPath::acksGoToEveryLinkOnceAndOtherPacketsToOneLink_data()
{
    QTest::addColumn<QByteArray>("datagram");
    QTest::addColumn<bool>("toAll");
    QTest::newRow("ACK, 2 bytes") << typed(0x8002, 2) << true;
    QTest::newRow("ACK, 3 bytes") << typed(0x8002, 3) << true;
    QTest::newRow("ACK, 44 bytes") << typed(0x8002, 44) << true;
    QTest::newRow("ACK, 2000 bytes") << typed(0x8002, 2000) << true;
    QTest::newRow("1 byte") << QByteArray::fromHex("80") << false;
    QTest::newRow("empty") << QByteArray("") << false;
    QTest::newRow("handshake response") << typed(0x8000, 64) << false;
    QTest::newRow("keep-alive") << typed(0x8001, 16) << false;
    QTest::newRow("NAK") << typed(0x8003, 20) << false;
    QTest::newRow("shutdown") << typed(0x8005, 16) << false;
    QTest::newRow("ACKACK") << typed(0x8006, 16) << false;
    QTest::newRow("data") << srtData(0x00008002, 1316) << false;
    QTest::newRow("data of 2000 bytes") << srtData(1, 2000) << false;
}

void TestSrtlaEngineReturnPath::acksGoToEveryLinkOnceAndOtherPacketsToOneLink()
{
    QFETCH(QByteArray, datagram);
    QFETCH(bool, toAll);
    EngineFixture fixture;
    std::array<Peer, 3> links;
    const QByteArray id = fixture.openGroup(links[0]);
    for (Peer &link : links) {
        QVERIFY(fixture.join(link, id));
    }
    const quint16 srtPort = fixture.forwardHandshake(links[1]);
    QCOMPARE(srtPort, fixture.srtPort(id));
    fixture.reply(datagram, srtPort);

    // The link that delivered the latest packet receives it in any case, from the engine's port.
    QCOMPARE(links[1].receive(), datagram);
    QCOMPARE(links[1].lastSenderPort, fixture.port());
    for (Peer *link : {&links[0], &links[2]}) {
        if (toAll) {
            QCOMPARE(link->receive(), datagram);
        }
    }
    for (Peer &link : links) {
        QVERIFY(fixture.receivesNothing(link)); // nothing else
    }
}

void TestSrtlaEngineReturnPath::repliesFollowTheLatestLink()
{
    EngineFixture fixture;
    Peer first;
    Peer second;
    const QByteArray id = fixture.connectLinks({&first, &second});
    QVERIFY(!id.isEmpty());
    const quint16 srtPort = fixture.forwardHandshake(first);
    fixture.reply(typed(0x8003, 20), srtPort);
    QCOMPARE(first.receive(), typed(0x8003, 20));

    QCOMPARE(fixture.forwardHandshake(second), srtPort);
    fixture.reply(typed(0x8003, 24), srtPort);
    QCOMPARE(second.receive(), typed(0x8003, 24));
    QVERIFY(fixture.receivesNothing(first));
}

void TestSrtlaEngineReturnPath::repliesFollowARepeatedReg2()
{
    EngineFixture fixture;
    Peer first;
    Peer second;
    const QByteArray id = fixture.connectLinks({&first, &second});
    QVERIFY(!id.isEmpty());
    const quint16 srtPort = fixture.forwardHandshake(first);
    QVERIFY(fixture.join(second, id));
    fixture.reply(typed(0x8003, 20), srtPort);
    QCOMPARE(second.receive(), typed(0x8003, 20));
}

void TestSrtlaEngineReturnPath::beforeTheFirstSrtPacketOnlyAcksAreSent_data()
{
    QTest::addColumn<QByteArray>("datagram");
    QTest::newRow("1 byte") << QByteArray::fromHex("80");
    QTest::newRow("NAK") << typed(0x8003, 20);
    QTest::newRow("data") << srtData(1);
}

void TestSrtlaEngineReturnPath::beforeTheFirstSrtPacketOnlyAcksAreSent()
{
    QFETCH(QByteArray, datagram);
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    const quint16 srtPort = fixture.forwardHandshake(link);
    QVERIFY(srtPort != 0);
    // Reset the flag, because over the network the socket exists only after an SRT packet.
    QVERIFY(fixture.probe.group(id));
    fixture.probe.group(id)->hasReplyEndpoint = false;
    fixture.reply(datagram, srtPort);
    fixture.reply(typed(0x8002, 44), srtPort);
    QCOMPARE(link.receive(), typed(0x8002, 44));
}

void TestSrtlaEngineReturnPath::repliesOfAGroupWithoutLinksAreDiscarded()
{
    EngineFixture fixture;
    fixture.engine.setMs = 0;
    Peer link;
    Peer late;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    const quint16 srtPort = fixture.forwardHandshake(link);
    QVERIFY(srtPort != 0);
    fixture.engine.setMs = 8001;
    SrtlaGroup *const group = fixture.probe.group(id);
    QVERIFY(group);
    group->lastActivityMs = 8001; // keeps the group
    fixture.probe.cleanupSessions();
    QCOMPARE(fixture.probe.group(id), group);
    QVERIFY(group->paths.isEmpty());

    fixture.reply(typed(0x8002, 44), srtPort);
    fixture.reply(typed(0x8003, 20), srtPort);
    QTRY_VERIFY_WITH_TIMEOUT(!group->srtSocket->hasPendingDatagrams(), waitMs);
    QVERIFY(fixture.receivesNothing(link));
    // They were read and dropped, not kept for a later link.
    QVERIFY(fixture.join(late, id));
    fixture.reply(typed(0x8002, 16), srtPort);
    QCOMPARE(late.receive(), typed(0x8002, 16));
}

void TestSrtlaEngineReturnPath::repliesStillGoToALinkThatTimedOut()
{
    EngineFixture fixture;
    fixture.engine.setMs = 0;
    Peer gone;
    Peer alive;
    const QByteArray id = fixture.connectLinks({&gone, &alive});
    QVERIFY(!id.isEmpty());
    const quint16 srtPort = fixture.forwardHandshake(gone);
    fixture.engine.setMs = 8001;
    QCOMPARE(fixture.exchange(alive, typed(0x9000, 2)), typed(0x9000, 2));
    fixture.probe.cleanupSessions();
    QVERIFY(fixture.probe.group(id));
    QCOMPARE(fixture.probe.group(id)->paths.size(), 1);

    fixture.reply(typed(0x8003, 20), srtPort);
    QCOMPARE(gone.receive(), typed(0x8003, 20));
    fixture.reply(typed(0x8002, 20), srtPort);
    QCOMPARE(alive.receive(), typed(0x8002, 20));
    QVERIFY(fixture.receivesNothing(gone));
}

void TestSrtlaEngineReturnPath::repliesAreNotCounted()
{
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    const quint16 srtPort = fixture.forwardHandshake(link);
    const quint64 packets = fixture.probe.receivedPackets();
    const quint64 bytes = fixture.probe.receivedBytes();
    fixture.reply(typed(0x8002, 44), srtPort);
    QCOMPARE(link.receive(), typed(0x8002, 44));
    QCOMPARE(fixture.probe.receivedPackets(), packets);
    QCOMPARE(fixture.probe.receivedBytes(), bytes);
    QVERIFY(fixture.probe.path(id, link.endpoint()));
    QCOMPARE(fixture.probe.path(id, link.endpoint())->packets, 1U);
}

void TestSrtlaEngineReturnPath::repliesStayInTheirGroup()
{
    EngineFixture fixture;
    Peer first;
    Peer second;
    QVERIFY(fixture.join(first, fixture.openGroup(first, 'a')));
    QVERIFY(fixture.join(second, fixture.openGroup(second, 'b')));
    const quint16 firstPort = fixture.forwardHandshake(first);
    const quint16 secondPort = fixture.forwardHandshake(second);
    fixture.reply(typed(0x8002, 44), secondPort);
    fixture.reply(typed(0x8002, 20), firstPort);
    QCOMPARE(first.receive(), typed(0x8002, 20));
    QCOMPARE(second.receive(), typed(0x8002, 44));
    QVERIFY(fixture.receivesNothing(first));
    QVERIFY(fixture.receivesNothing(second));
}

void TestSrtlaEngineReturnPath::everySocketErrorIsLogged()
{
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.openGroup(link, '?');
    QVERIFY(fixture.join(link, id));
    QVERIFY(fixture.forwardHandshake(link) != 0);
    fixture.record.all.clear();
    // The signal is emitted directly, because errors reported by the system differ.
    SrtlaEngine::SrtSocket *const socket = fixture.probe.group(id)->srtSocket.get();
    for (int count = 1; count <= 3; ++count) {
        Q_EMIT socket->errorOccurred(QAbstractSocket::ConnectionRefusedError);
        QCOMPARE(fixture.record.all.size(), count);
        QCOMPARE(fixture.record.all.last(), u"log SRT | Gruppe 3f4041424344: "_s + socket->errorString());
    }
}

void TestSrtlaEngineReturnPath::groupWorksAfterASocketError()
{
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    const quint16 srtPort = fixture.forwardHandshake(link);
    QVERIFY(srtPort != 0);
    SrtlaEngine::SrtSocket *const socket = fixture.probe.group(id)->srtSocket.get();
    Q_EMIT socket->errorOccurred(QAbstractSocket::ConnectionRefusedError);
    QVERIFY(fixture.probe.group(id));
    QCOMPARE(fixture.probe.group(id)->srtSocket.get(), socket);
    QCOMPARE(fixture.forwardHandshake(link), srtPort);
    fixture.reply(typed(0x8001, 16), srtPort);
    QCOMPARE(link.receive(), typed(0x8001, 16));
}

QTEST_GUILESS_MAIN(TestSrtlaEngineReturnPath)
#include "tst_srtlaengine_returnpath.moc"
