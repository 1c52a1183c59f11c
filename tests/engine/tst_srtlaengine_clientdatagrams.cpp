// SPDX-License-Identifier: GPL-2.0-or-later
// Datagrams from senders other than registrations: keepalives, SRT packets, dropped datagrams.
#include "enginefixture.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestSrtlaEngineClientDatagrams : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepalivesAreEchoed_data();
    void keepalivesAreEchoed();
    void keepalivesAreCountedAndKeepTheReplyEndpoint();
    void keepaliveFromAnEndpointWithoutReg2IsNotEchoed();
    void fifteenBytesAreNeitherForwardedNorAnswered();
    void sizeLimits_data();
    void sizeLimits();
    void unknownTypesOfALinkAreForwarded();
    void datagramsOfUnregisteredEndpointsAreCountedAndDropped();
};

void TestSrtlaEngineClientDatagrams::keepalivesAreEchoed_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {2, 10, 16, 1500}) {
        QTest::addRow("%d bytes", size) << size;
    }
}

void TestSrtlaEngineClientDatagrams::keepalivesAreEchoed()
{
    QFETCH(int, size);
    EngineFixture fixture;
    Peer link;
    QVERIFY(fixture.join(link, fixture.openGroup(link)));
    QCOMPARE(fixture.exchange(link, typed(0x9000, size)), typed(0x9000, size));
    QCOMPARE(link.lastSenderPort, fixture.port());
    QVERIFY(fixture.forwardsNothing(link));
}

void TestSrtlaEngineClientDatagrams::keepalivesAreCountedAndKeepTheReplyEndpoint()
{
    EngineFixture fixture;
    fixture.engine.setMs = 100;
    Peer first;
    Peer second;
    const QByteArray id = fixture.connectLinks({&first, &second});
    QVERIFY(!id.isEmpty());
    fixture.engine.setMs = 700;
    QCOMPARE(fixture.exchange(first, typed(0x9000, 10)), typed(0x9000, 10));
    const SrtlaPath *const path = fixture.probe.path(id, first.endpoint());
    QCOMPARE(path->packets, 1U);
    QCOMPARE(path->bytes, 10U);
    QCOMPARE(path->lastActivityMs, 700);
    QCOMPARE(fixture.probe.group(id)->lastActivityMs, 700);
    QCOMPARE(fixture.probe.group(id)->replyPort, second.endpoint().port);
    QVERIFY(!fixture.probe.group(id)->hasReplyEndpoint);
}

void TestSrtlaEngineClientDatagrams::keepaliveFromAnEndpointWithoutReg2IsNotEchoed()
{
    EngineFixture fixture;
    Peer sender;
    QVERIFY(!fixture.openGroup(sender).isEmpty());
    fixture.send(sender, typed(0x9000, 10));
    QVERIFY(fixture.receivesNothing(sender));
}

void TestSrtlaEngineClientDatagrams::fifteenBytesAreNeitherForwardedNorAnswered()
{
    EngineFixture fixture;
    fixture.engine.setMs = 0;
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    fixture.engine.setMs = 300;
    fixture.send(link, srtData(1, 15));
    QVERIFY(fixture.receivesNothing(link));
    const SrtlaPath *const path = fixture.probe.path(id, link.endpoint());
    QCOMPARE(path->packets, 1U);
    QCOMPARE(path->bytes, 15U);
    QCOMPARE(path->lastActivityMs, 300);
    QVERIFY(path->pendingAcks.isEmpty());
    QCOMPARE(fixture.probe.group(id)->lastActivityMs, 300);
    QVERIFY(!fixture.probe.group(id)->hasReplyEndpoint);
    QVERIFY(fixture.forwardsNothing(link));
}

void TestSrtlaEngineClientDatagrams::sizeLimits_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("handled");
    QTest::newRow("16 bytes") << 16 << true;
    QTest::newRow("1500 bytes") << 1500 << true;
    QTest::newRow("1501 bytes") << 1501 << false;
    QTest::newRow("2000 bytes") << 2000 << false;
    QTest::newRow("largest datagram") << 65507 << false;
}

void TestSrtlaEngineClientDatagrams::sizeLimits()
{
    QFETCH(int, size);
    QFETCH(bool, handled);
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    const quint64 before = fixture.probe.receivedBytes();
    fixture.send(link, srtData(1, size));
    if (handled) {
        QCOMPARE(fixture.listener.receive(), srtData(1, size));
    } else {
        QVERIFY(fixture.forwardsNothing(link));
        QCOMPARE(fixture.probe.path(id, link.endpoint())->packets, 1U); // the known packet
        QCOMPARE(fixture.probe.receivedPackets(), 4U);
        QCOMPARE(fixture.probe.receivedBytes() - before, static_cast<quint64>(size) + 40U); // counted whole
    }
}

void TestSrtlaEngineClientDatagrams::unknownTypesOfALinkAreForwarded()
{
    EngineFixture fixture;
    Peer link;
    QVERIFY(fixture.join(link, fixture.openGroup(link)));
    for (const quint16 type : {quint16{0x9100}, quint16{0x9202}, quint16{0x9210}, quint16{0x9fff}, quint16{0xffff}}) {
        fixture.send(link, typed(type, 44));
        QCOMPARE(fixture.listener.receive(), typed(type, 44));
    }
}

void TestSrtlaEngineClientDatagrams::datagramsOfUnregisteredEndpointsAreCountedAndDropped()
{
    EngineFixture fixture;
    Peer unregistered;
    for (const QByteArray &datagram : {srtData(1), srtHandshake(), typed(0x9000, 2), QByteArray(1, 'x')}) {
        fixture.send(unregistered, datagram);
    }
    QVERIFY(fixture.receivesNothing(unregistered));
    QCOMPARE(fixture.probe.receivedPackets(), 5U);
    QCOMPARE(fixture.probe.receivedBytes(), 64U + 64U + 2U + 1U + 258U);
    QCOMPARE(fixture.record.all, QStringList());
}

QTEST_GUILESS_MAIN(TestSrtlaEngineClientDatagrams)
#include "tst_srtlaengine_clientdatagrams.moc"
