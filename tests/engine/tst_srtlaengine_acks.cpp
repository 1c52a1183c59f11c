// SPDX-License-Identifier: GPL-2.0-or-later
// SRTLA ACKs for SRT data packets.
#include "enginefixture.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestSrtlaEngineAcks : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tenDataPacketsMakeOneAckInArrivalOrder();
    void nineDataPacketsMakeNone();
    void eachLinkHasItsOwnBatch();
    void onlyTheLinkThatDeliveredIsAcknowledged();
    void theAckIsSentBeforeTheTenthPacketIsForwarded();
    void lowestAndHighestSequenceNumbersAreAcknowledged();
    void duplicatesAreAcknowledgedTwice();
    void controlPacketsAreForwardedAndNotAcknowledged();
    void anSrtPacketMovesTheReplyEndpoint();

private:
    static void deliver(EngineFixture &fixture, Peer &link, const QList<quint32> &sequences);
};

/// Sends data packets and waits until the listener has the last of them.
void TestSrtlaEngineAcks::deliver(EngineFixture &fixture, Peer &link, const QList<quint32> &sequences)
{
    for (const quint32 sequence : sequences) {
        fixture.send(link, srtData(sequence));
        QCOMPARE(fixture.listener.receive(), srtData(sequence));
    }
}

void TestSrtlaEngineAcks::tenDataPacketsMakeOneAckInArrivalOrder()
{
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    const QList<quint32> sequences{10, 3, 5, 4, 9, 1, 200, 7, 8, 2};
    deliver(fixture, link, sequences);
    QCOMPARE(link.receive(), srtlaAck(sequences));
    QCOMPARE(link.lastSenderPort, fixture.port());
    QVERIFY(fixture.receivesNothing(link)); // exactly one
    QVERIFY(fixture.probe.path(id, link.endpoint())->pendingAcks.isEmpty());

    // The list was cleared.
    const QList<quint32> more{11, 12, 13, 14, 15, 16, 17, 18, 19, 20};
    deliver(fixture, link, more);
    QCOMPARE(link.receive(), srtlaAck(more));
}

void TestSrtlaEngineAcks::nineDataPacketsMakeNone()
{
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    const QList<quint32> sequences{1, 2, 3, 4, 5, 6, 7, 8, 9};
    deliver(fixture, link, sequences);
    QVERIFY(fixture.receivesNothing(link));
    QCOMPARE(fixture.probe.path(id, link.endpoint())->pendingAcks, sequences);
}

void TestSrtlaEngineAcks::eachLinkHasItsOwnBatch()
{
    EngineFixture fixture;
    Peer first;
    Peer second;
    const QByteArray id = fixture.connectLinks({&first, &second});
    QVERIFY(!id.isEmpty());
    for (quint32 sequence = 0; sequence < 10; sequence += 2) {
        deliver(fixture, first, {sequence});
        deliver(fixture, second, {sequence + 1});
    }
    QVERIFY(fixture.receivesNothing(first));
    QVERIFY(fixture.receivesNothing(second));
    // Each link is acknowledged for its own ten packets.
    deliver(fixture, first, {20, 21, 22, 23, 24});
    QCOMPARE(first.receive(), srtlaAck({0, 2, 4, 6, 8, 20, 21, 22, 23, 24}));
    QVERIFY(fixture.receivesNothing(second));
}

void TestSrtlaEngineAcks::onlyTheLinkThatDeliveredIsAcknowledged()
{
    EngineFixture fixture;
    Peer owner; // opened the group without being a link of it
    Peer first;
    Peer second;
    Peer third;
    const QByteArray id = fixture.openGroup(owner);
    for (Peer *link : {&first, &second, &third}) {
        QVERIFY(fixture.join(*link, id));
    }
    const QList<quint32> sequences{1, 2, 3, 4, 5, 6, 7, 8, 9};
    deliver(fixture, second, sequences);
    // The other links deliver packets in between.
    deliver(fixture, third, {100});
    deliver(fixture, first, {200});
    deliver(fixture, second, {10});
    QCOMPARE(second.receive(), srtlaAck(sequences + QList<quint32>{10}));
    for (Peer *other : {&owner, &first, &third}) {
        QVERIFY(fixture.receivesNothing(*other));
    }
}

void TestSrtlaEngineAcks::theAckIsSentBeforeTheTenthPacketIsForwarded()
{
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    deliver(fixture, link, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    QStringList sent;
    connect(&fixture.probe.clientSocket(), &QIODevice::bytesWritten, this, [&] { sent.append(u"ACK"_s); });
    connect(fixture.probe.group(id)->srtSocket.get(), &QIODevice::bytesWritten, this,
            [&] { sent.append(u"packet"_s); });
    deliver(fixture, link, {10});
    QCOMPARE(sent, (QStringList{u"ACK"_s, u"packet"_s}));
}

void TestSrtlaEngineAcks::lowestAndHighestSequenceNumbersAreAcknowledged()
{
    EngineFixture fixture;
    Peer link;
    QVERIFY(fixture.join(link, fixture.openGroup(link)));
    const QList<quint32> sequences{0x7ffffffe, 0x7fffffff, 0, 1, 2, 3, 4, 5, 6, 7};
    deliver(fixture, link, sequences);
    QCOMPARE(link.receive(), srtlaAck(sequences));
}

void TestSrtlaEngineAcks::duplicatesAreAcknowledgedTwice()
{
    EngineFixture fixture;
    Peer link;
    QVERIFY(fixture.join(link, fixture.openGroup(link)));
    const QList<quint32> sequences{1, 1, 2, 2, 3, 3, 4, 4, 5, 5};
    deliver(fixture, link, sequences);
    QCOMPARE(link.receive(), srtlaAck(sequences));
}

void TestSrtlaEngineAcks::controlPacketsAreForwardedAndNotAcknowledged()
{
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    for (int i = 0; i < 20; ++i) {
        QVERIFY(fixture.forwardHandshake(link) != 0);
    }
    QVERIFY(fixture.receivesNothing(link));
    QVERIFY(fixture.probe.path(id, link.endpoint())->pendingAcks.isEmpty());
    QCOMPARE(fixture.probe.path(id, link.endpoint())->packets, 20U);
}

void TestSrtlaEngineAcks::anSrtPacketMovesTheReplyEndpoint()
{
    EngineFixture fixture;
    Peer first;
    Peer second;
    const QByteArray id = fixture.connectLinks({&first, &second});
    QVERIFY(!id.isEmpty());
    const SrtlaGroup *const group = fixture.probe.group(id);
    QVERIFY(fixture.forwardHandshake(first) != 0);
    QVERIFY(group->hasReplyEndpoint);
    QCOMPARE(group->replyAddress, first.endpoint().address);
    QCOMPARE(group->replyPort, first.endpoint().port);
    deliver(fixture, second, {1});
    QCOMPARE(group->replyPort, second.endpoint().port);
}

QTEST_GUILESS_MAIN(TestSrtlaEngineAcks)
#include "tst_srtlaengine_acks.moc"
