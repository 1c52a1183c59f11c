// SPDX-License-Identifier: GPL-2.0-or-later
// Creation of a group's socket to the SRT listener.
#include "enginefixture.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestSrtlaEngineSrtSocket : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aGroupThatForwardedNothingHasNoSocket();
    void theFirstForwardedPacketCreatesTheSocket();
    void eachGroupHasItsOwnSocket();
    void connectErrorIsLogged();
};

void TestSrtlaEngineSrtSocket::aGroupThatForwardedNothingHasNoSocket()
{
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    QCOMPARE(fixture.exchange(link, typed(0x9000, 10)), typed(0x9000, 10));
    fixture.send(link, srtData(1, 15));
    QVERIFY(fixture.receivesNothing(link));
    QVERIFY(!fixture.probe.group(id)->srtSocket);
    QVERIFY(!fixture.record.logLines.join(u'\n').contains(u"SRT | Gruppe"));
}

void TestSrtlaEngineSrtSocket::theFirstForwardedPacketCreatesTheSocket()
{
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    fixture.record.logLines.clear();
    QVERIFY(fixture.forwardHandshake(link) != 0);
    QCOMPARE(fixture.listener.lastSenderPort, fixture.srtPort(id));
    const QString line = u"SRT | Gruppe 616263646566 → 127.0.0.1:%1"_s.arg(fixture.listener.socket.localPort());
    QCOMPARE(fixture.record.logLines, QStringList{line});

    const SrtlaEngine::SrtSocket *const socket = fixture.probe.group(id)->srtSocket.get();
    QCOMPARE(socket->groupId, id);
    QCOMPARE(socket->parent(), nullptr);
    QCOMPARE(socket->state(), QAbstractSocket::ConnectedState);
    QCOMPARE(socket->peerPort(), fixture.listener.socket.localPort());

    fixture.send(link, srtData(7));
    QCOMPARE(fixture.listener.receive(), srtData(7));
    QCOMPARE(fixture.probe.group(id)->srtSocket.get(), socket);
    QCOMPARE(fixture.record.logLines, QStringList{line});
}

void TestSrtlaEngineSrtSocket::eachGroupHasItsOwnSocket()
{
    EngineFixture fixture;
    Peer first;
    Peer second;
    QVERIFY(fixture.join(first, fixture.openGroup(first, 'a')));
    QVERIFY(fixture.join(second, fixture.openGroup(second, 'b')));
    fixture.send(first, srtData(1));
    QCOMPARE(fixture.listener.receive(), srtData(1));
    const quint16 firstPort = fixture.listener.lastSenderPort;
    fixture.send(second, srtData(2));
    QCOMPARE(fixture.listener.receive(), srtData(2));
    QVERIFY(fixture.listener.lastSenderPort != firstPort);
}

void TestSrtlaEngineSrtSocket::connectErrorIsLogged()
{
    // TEST-NET-1 (RFC 5737). A network namespace with loopback only has no route to it.
    const QHostAddress unreachable(u"192.0.2.1"_s);
    QUdpSocket same;
    same.connectToHost(unreachable, 5002);
    if (same.state() == QAbstractSocket::ConnectedState) {
        QSKIP("this system has a route to anywhere");
    }
    ClockedEngine engine;
    const EngineProbe probe{engine};
    QVERIFY(engine.start(0, unreachable, 5002));
    SignalRecord record(engine);
    const SrtlaEndpoint link = remoteLink(40000);
    probe.handleDatagram(reg1(idProposal('a')), link);
    const QByteArray id = probe.groups().keys().constFirst();
    probe.handleDatagram(reg2(id), link);
    record.logLines.clear();
    probe.handleDatagram(srtHandshake(), link);
    QCOMPARE(record.logLines, (QStringList{u"SRT | Gruppe 616263646566: %1"_s.arg(same.errorString()),
                                           u"SRT | Gruppe 616263646566 → 192.0.2.1:5002"_s}));
    QVERIFY(probe.group(id));
}

QTEST_GUILESS_MAIN(TestSrtlaEngineSrtSocket)
#include "tst_srtlaengine_srtsocket.moc"
