// SPDX-License-Identifier: GPL-2.0-or-later
// How much one turn of the event loop reads from the senders' socket, and into what.
#include "enginefixture.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestSrtlaEngineReading : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everythingPendingIsReadInOneCall();
    void aFloodThatNeverEndsLeavesTheThreadItsTurns();
    void aListenerThatNeverEndsLeavesTheThreadItsTurns();
    void aTurnEndsWhenItsTimeIsOver();
    void datagramsThatComeAloneAreReadAlone();
    void aDatagramOutlivesAnEventLoopInItsHandler();
    void theLargestDatagramsAreCountedWhole();
};

void TestSrtlaEngineReading::everythingPendingIsReadInOneCall()
{
    EngineFixture fixture;
    fixture.engine.setMs = 0; // however long it takes
    Peer sender;
    constexpr int count = 100;
    for (int i = 0; i < count; ++i) {
        sender.send(QByteArray(16, 'x'), fixture.port());
    }
    fixture.probe.readClientDatagrams(); // without returning to the event loop
    QCOMPARE(fixture.probe.receivedPackets(), static_cast<quint64>(count));
}

void TestSrtlaEngineReading::aFloodThatNeverEndsLeavesTheThreadItsTurns()
{
    constexpr int patience = 100'000; // datagrams; far more than a system holds for one socket
    EngineFixture fixture;
    Peer flooder;
    bool isOver = false;
    int fed = 0;
    // Each new group brings the next registration: when the engine looks, there is always one more.
    connect(&fixture.engine, &SrtlaEngine::logMessage, this, [&](const QString &line) {
        if (line.startsWith(u"REG1"_s) && !isOver && fed < patience) {
            ++fed;
            fixture.send(flooder, reg1(idProposal('a')));
        }
    });
    fixture.send(flooder, reg1(idProposal('a')));
    fixture.probe.readClientDatagrams();
    isOver = true;
    QVERIFY(fed > 0);
    QVERIFY2(fed < patience, "the thread was away until the flood ended");
    // What was left waiting is read without another datagram having to come.
    QTRY_VERIFY_WITH_TIMEOUT(!fixture.probe.clientSocket().hasPendingDatagrams(), ampleMs);
}

void TestSrtlaEngineReading::aListenerThatNeverEndsLeavesTheThreadItsTurns()
{
    constexpr int patience = 100'000; // as above
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    const quint16 srtPort = fixture.carryHandshake(link);
    QVERIFY(srtPort != 0);
    bool isOver = false;
    int fed = 0;
    // Each reply that goes out to the sender brings the next one.
    connect(&fixture.probe.clientSocket(), &QIODevice::bytesWritten, this, [&] {
        if (!isOver && fed < patience) {
            ++fed;
            fixture.reply(typed(0x8003, 20), srtPort);
        }
    });
    fixture.reply(typed(0x8003, 20), srtPort);
    fixture.probe.readSrtDatagrams(id);
    isOver = true;
    QVERIFY(fed > 0);
    QVERIFY2(fed < patience, "the thread was away until the flood ended");
    const SrtlaEngine::SrtSocket *const socket = fixture.probe.group(id)->srtSocket.get();
    QTRY_VERIFY_WITH_TIMEOUT(!socket->hasPendingDatagrams(), ampleMs);
}

void TestSrtlaEngineReading::aTurnEndsWhenItsTimeIsOver()
{
    constexpr quint64 count = 100;
    EngineFixture fixture;
    fixture.engine.setMs = 0;
    // Each registration takes a millisecond.
    connect(&fixture.engine, &SrtlaEngine::logMessage, this, [&] { ++*fixture.engine.setMs; });
    Peer sender;
    for (quint64 i = 0; i < count; ++i) {
        sender.send(reg1(idProposal('a')), fixture.port());
    }
    fixture.probe.readClientDatagrams();
    QCOMPARE_GT(fixture.probe.receivedPackets(), 0U);
    QCOMPARE_LT(fixture.probe.receivedPackets(), count);
    QTRY_COMPARE_WITH_TIMEOUT(fixture.probe.receivedPackets(), count, ampleMs);
}

void TestSrtlaEngineReading::datagramsThatComeAloneAreReadAlone()
{
    EngineFixture fixture;
    fixture.engine.setMs = 0; // however long it takes
    Peer sender;
    sender.send("one", fixture.port());
    fixture.probe.readClientDatagrams();
    QCOMPARE(fixture.probe.receivedPackets(), 1U);
    for (const char *text : {"two", "three", "four"}) {
        sender.send(text, fixture.port());
    }
    fixture.probe.readClientDatagrams();
    QCOMPARE(fixture.probe.receivedPackets(), 2U); // no call spent on looking for more
    fixture.probe.readClientDatagrams();
    QCOMPARE(fixture.probe.receivedPackets(), 4U); // every second turn looks, so nothing piles up
}

void TestSrtlaEngineReading::aDatagramOutlivesAnEventLoopInItsHandler()
{
    EngineFixture fixture;
    Peer earlier;
    Peer link;
    const QByteArray id = fixture.openGroup(earlier, 'b');
    QVERIFY(fixture.join(earlier, id));
    const quint16 srtPort = fixture.carryHandshake(earlier);
    QVERIFY(srtPort != 0);
    QVERIFY(!fixture.connectLinks({&link}).isEmpty());
    QByteArray reply;
    connect(&fixture.engine, &SrtlaEngine::logMessage, this, [&](const QString &line) {
        if (line.startsWith(u"SRT | Gruppe"_s)) {
            // As a message box would: an event loop of its own, in which the other group's socket is read.
            fixture.reply(typed(0x8003, 1316), srtPort);
            reply = earlier.receive();
        }
    });
    fixture.send(link, srtData(7, 1316));
    QCOMPARE(fixture.listener.receive(), srtData(7, 1316));
    QCOMPARE(reply, typed(0x8003, 1316));
}

void TestSrtlaEngineReading::theLargestDatagramsAreCountedWhole()
{
    constexpr qsizetype largest = 65507; // over IPv4
    EngineFixture fixture;
    Peer sender;
    sender.send(QByteArray(largest, 'x'), fixture.port());
    QTRY_COMPARE_WITH_TIMEOUT(fixture.probe.receivedBytes(), static_cast<quint64>(largest), ampleMs);
    QCOMPARE(fixture.probe.receivedPackets(), 1U);
}

QTEST_GUILESS_MAIN(TestSrtlaEngineReading)
#include "tst_srtlaengine_reading.moc"
