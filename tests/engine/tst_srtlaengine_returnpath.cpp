// SPDX-License-Identifier: GPL-2.0-or-later
// What the SRT listener sends back, and over which links it goes.
#include "enginefixture.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestSrtlaEngineReturnPath : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void acksGoToEveryLinkOnceAndOtherPacketsToOneLink_data();
    void acksGoToEveryLinkOnceAndOtherPacketsToOneLink();
    void repliesFollowTheTrafficFromLinkToLink();
    void repliesFollowARepeatedReg2();
    void beforeTheFirstSrtPacketOnlyAcksAreSent_data();
    void beforeTheFirstSrtPacketOnlyAcksAreSent();
    void repliesOfAGroupWithoutLinksAreDiscarded();
    void repliesStillGoToALinkThatTimedOut();
    void repliesAreCountedNowhere();
    void groupsDoNotGetEachOthersReplies();
    void everySocketErrorIsOneLogLine();
    void anErrorLeavesTheGroupWorkingOnTheSameSocket();
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
    QTest::newRow("shut-down") << typed(0x8005, 16) << false;
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
    const quint16 srtPort = fixture.carryHandshake(links[1]);
    QCOMPARE(srtPort, fixture.srtPort(id));
    fixture.reply(datagram, srtPort);

    // The link that carried a packet last gets it in any case, and from the port that it talks to.
    QCOMPARE(links[1].receive(), datagram);
    QCOMPARE(links[1].lastSenderPort, fixture.port());
    for (Peer *link : {&links[0], &links[2]}) {
        if (toAll) {
            QCOMPARE(link->receive(), datagram);
        }
    }
    for (Peer &link : links) {
        QVERIFY(fixture.nothingAnswered(link)); // nothing more
    }
}

void TestSrtlaEngineReturnPath::repliesFollowTheTrafficFromLinkToLink()
{
    EngineFixture fixture;
    Peer first;
    Peer second;
    const QByteArray id = fixture.connectLinks({&first, &second});
    QVERIFY(!id.isEmpty());
    const quint16 srtPort = fixture.carryHandshake(first);
    fixture.reply(typed(0x8003, 20), srtPort);
    QCOMPARE(first.receive(), typed(0x8003, 20));

    QCOMPARE(fixture.carryHandshake(second), srtPort);
    fixture.reply(typed(0x8003, 24), srtPort);
    QCOMPARE(second.receive(), typed(0x8003, 24));
    QVERIFY(fixture.nothingAnswered(first));
}

void TestSrtlaEngineReturnPath::repliesFollowARepeatedReg2()
{
    EngineFixture fixture;
    Peer first;
    Peer second;
    const QByteArray id = fixture.connectLinks({&first, &second});
    QVERIFY(!id.isEmpty());
    const quint16 srtPort = fixture.carryHandshake(first);
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
    const quint16 srtPort = fixture.carryHandshake(link);
    QVERIFY(srtPort != 0);
    // A socket without an SRT packet before it does not come about over the network: take the mark back.
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
    const quint16 srtPort = fixture.carryHandshake(link);
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
    QTRY_VERIFY_WITH_TIMEOUT(!group->srtSocket->hasPendingDatagrams(), ampleMs);
    QVERIFY(fixture.nothingAnswered(link));
    // They were read and dropped, not kept for a link that comes later.
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
    const quint16 srtPort = fixture.carryHandshake(gone);
    fixture.engine.setMs = 8001;
    QCOMPARE(fixture.ask(alive, typed(0x9000, 2)), typed(0x9000, 2));
    fixture.probe.cleanupSessions();
    QVERIFY(fixture.probe.group(id));
    QCOMPARE(fixture.probe.group(id)->paths.size(), 1);

    fixture.reply(typed(0x8003, 20), srtPort);
    QCOMPARE(gone.receive(), typed(0x8003, 20));
    fixture.reply(typed(0x8002, 20), srtPort);
    QCOMPARE(alive.receive(), typed(0x8002, 20));
    QVERIFY(fixture.nothingAnswered(gone));
}

void TestSrtlaEngineReturnPath::repliesAreCountedNowhere()
{
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    const quint16 srtPort = fixture.carryHandshake(link);
    const quint64 packets = fixture.probe.receivedPackets();
    const quint64 bytes = fixture.probe.receivedBytes();
    fixture.reply(typed(0x8002, 44), srtPort);
    QCOMPARE(link.receive(), typed(0x8002, 44));
    QCOMPARE(fixture.probe.receivedPackets(), packets);
    QCOMPARE(fixture.probe.receivedBytes(), bytes);
    QVERIFY(fixture.probe.path(id, link.endpoint()));
    QCOMPARE(fixture.probe.path(id, link.endpoint())->packets, 1U);
}

void TestSrtlaEngineReturnPath::groupsDoNotGetEachOthersReplies()
{
    EngineFixture fixture;
    Peer first;
    Peer second;
    QVERIFY(fixture.join(first, fixture.openGroup(first, 'a')));
    QVERIFY(fixture.join(second, fixture.openGroup(second, 'b')));
    const quint16 firstPort = fixture.carryHandshake(first);
    const quint16 secondPort = fixture.carryHandshake(second);
    fixture.reply(typed(0x8002, 44), secondPort);
    fixture.reply(typed(0x8002, 20), firstPort);
    QCOMPARE(first.receive(), typed(0x8002, 20));
    QCOMPARE(second.receive(), typed(0x8002, 44));
    QVERIFY(fixture.nothingAnswered(first));
    QVERIFY(fixture.nothingAnswered(second));
}

void TestSrtlaEngineReturnPath::everySocketErrorIsOneLogLine()
{
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.openGroup(link, '?');
    QVERIFY(fixture.join(link, id));
    QVERIFY(fixture.carryHandshake(link) != 0);
    fixture.record.all.clear();
    // Which errors a system reports, and when, differs; a signal from the socket does not.
    SrtlaEngine::SrtSocket *const socket = fixture.probe.group(id)->srtSocket.get();
    for (int count = 1; count <= 3; ++count) {
        Q_EMIT socket->errorOccurred(QAbstractSocket::ConnectionRefusedError);
        QCOMPARE(fixture.record.all.size(), count);
        QCOMPARE(fixture.record.all.last(), u"log SRT | Gruppe 3f4041424344: "_s + socket->errorString());
    }
}

void TestSrtlaEngineReturnPath::anErrorLeavesTheGroupWorkingOnTheSameSocket()
{
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    const quint16 srtPort = fixture.carryHandshake(link);
    QVERIFY(srtPort != 0);
    SrtlaEngine::SrtSocket *const socket = fixture.probe.group(id)->srtSocket.get();
    Q_EMIT socket->errorOccurred(QAbstractSocket::ConnectionRefusedError);
    QVERIFY(fixture.probe.group(id));
    QCOMPARE(fixture.probe.group(id)->srtSocket.get(), socket);
    QCOMPARE(fixture.carryHandshake(link), srtPort);
    fixture.reply(typed(0x8001, 16), srtPort);
    QCOMPARE(link.receive(), typed(0x8001, 16));
}

QTEST_GUILESS_MAIN(TestSrtlaEngineReturnPath)
#include "tst_srtlaengine_returnpath.moc"
