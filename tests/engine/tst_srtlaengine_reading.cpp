// SPDX-License-Identifier: GPL-2.0-or-later
// How much is read from the senders' socket in one event loop iteration, and buffer reuse.
#include "enginefixture.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr int maximumFed = 100'000; // datagrams; far more than a socket's receive buffer holds

} // namespace

class TestSrtlaEngineReading : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everythingPendingIsReadInOneCall();
    void endlessFloodDoesNotBlockTheThread();
    void endlessRepliesDoNotBlockTheThread();
    void readingEndsAtTheTimeLimit();
    void singleDatagramsAreReadWithoutASecondRead();
    void datagramStaysValidInANestedEventLoop();
    void largestDatagramsAreCountedWhole();
};

void TestSrtlaEngineReading::everythingPendingIsReadInOneCall()
{
    EngineFixture fixture;
    fixture.engine.setMs = 0; // no time limit
    Peer sender;
    constexpr int count = 100;
    for (int i = 0; i < count; ++i) {
        sender.send(QByteArray(16, 'x'), fixture.port());
    }
    fixture.probe.readClientDatagrams(); // without returning to the event loop
    QCOMPARE(fixture.probe.receivedPackets(), static_cast<quint64>(count));
}

void TestSrtlaEngineReading::endlessFloodDoesNotBlockTheThread()
{
    EngineFixture fixture;
    Peer flooder;
    bool isOver = false;
    int fed = 0;
    // Each new group triggers the next registration, so that a datagram is always pending.
    connect(&fixture.engine, &SrtlaEngine::logMessage, this, [&](const QString &line) {
        if (line.startsWith(u"REG1"_s) && !isOver && fed < maximumFed) {
            ++fed;
            fixture.send(flooder, reg1(idProposal('a')));
        }
    });
    fixture.send(flooder, reg1(idProposal('a')));
    fixture.probe.readClientDatagrams();
    isOver = true;
    QVERIFY(fed > 0);
    QVERIFY2(fed < maximumFed, "the call returned only after the flood");
    // The pending datagrams are read without a new one arriving.
    QTRY_VERIFY_WITH_TIMEOUT(!fixture.probe.clientSocket().hasPendingDatagrams(), waitMs);
}

void TestSrtlaEngineReading::endlessRepliesDoNotBlockTheThread()
{
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    const quint16 srtPort = fixture.forwardHandshake(link);
    QVERIFY(srtPort != 0);
    bool isOver = false;
    int fed = 0;
    // Each reply sent to the sender triggers the next one.
    connect(&fixture.probe.clientSocket(), &QIODevice::bytesWritten, this, [&] {
        if (!isOver && fed < maximumFed) {
            ++fed;
            fixture.reply(typed(0x8003, 20), srtPort);
        }
    });
    fixture.reply(typed(0x8003, 20), srtPort);
    fixture.probe.readSrtDatagrams(id);
    isOver = true;
    QVERIFY(fed > 0);
    QVERIFY2(fed < maximumFed, "the call returned only after the flood");
    const SrtlaEngine::SrtSocket *const socket = fixture.probe.group(id)->srtSocket.get();
    QTRY_VERIFY_WITH_TIMEOUT(!socket->hasPendingDatagrams(), waitMs);
}

void TestSrtlaEngineReading::readingEndsAtTheTimeLimit()
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
    QTRY_COMPARE_WITH_TIMEOUT(fixture.probe.receivedPackets(), count, waitMs);
}

void TestSrtlaEngineReading::singleDatagramsAreReadWithoutASecondRead()
{
    EngineFixture fixture;
    fixture.engine.setMs = 0; // no time limit
    Peer sender;
    sender.send("one", fixture.port());
    fixture.probe.readClientDatagrams();
    QCOMPARE(fixture.probe.receivedPackets(), 1U);
    for (const char *text : {"two", "three", "four"}) {
        sender.send(text, fixture.port());
    }
    fixture.probe.readClientDatagrams();
    QCOMPARE(fixture.probe.receivedPackets(), 2U); // without a second read
    fixture.probe.readClientDatagrams();
    QCOMPARE(fixture.probe.receivedPackets(), 4U); // every second pass reads until the socket is empty
}

void TestSrtlaEngineReading::datagramStaysValidInANestedEventLoop()
{
    EngineFixture fixture;
    Peer earlier;
    Peer link;
    const QByteArray id = fixture.openGroup(earlier, 'b');
    QVERIFY(fixture.join(earlier, id));
    const quint16 srtPort = fixture.forwardHandshake(earlier);
    QVERIFY(srtPort != 0);
    QVERIFY(!fixture.connectLinks({&link}).isEmpty());
    QByteArray reply;
    connect(&fixture.engine, &SrtlaEngine::logMessage, this, [&](const QString &line) {
        if (line.startsWith(u"SRT | Gruppe"_s)) {
            // receive() runs an event loop, in which the other group's socket is read, as a message box would.
            fixture.reply(typed(0x8003, 1316), srtPort);
            reply = earlier.receive();
        }
    });
    fixture.send(link, srtData(7, 1316));
    QCOMPARE(fixture.listener.receive(), srtData(7, 1316));
    QCOMPARE(reply, typed(0x8003, 1316));
}

void TestSrtlaEngineReading::largestDatagramsAreCountedWhole()
{
    constexpr qsizetype largest = 65507; // over IPv4
    EngineFixture fixture;
    Peer sender;
    sender.send(QByteArray(largest, 'x'), fixture.port());
    QTRY_COMPARE_WITH_TIMEOUT(fixture.probe.receivedBytes(), static_cast<quint64>(largest), waitMs);
    QCOMPARE(fixture.probe.receivedPackets(), 1U);
}

QTEST_GUILESS_MAIN(TestSrtlaEngineReading)
#include "tst_srtlaengine_reading.moc"
