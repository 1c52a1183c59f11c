// SPDX-License-Identifier: GPL-2.0-or-later
// Start, stop and shutdown.
#include "enginefixture.h"

#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

class TestSrtlaEngineCore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aNewEngineIsIdle();
    void startBindsAndEmitsSignalsInOrder();
    void startOnAPortHeldExclusivelyFails();
    void percentSignsInReasonsAreKept();
    void startWhileRunningStopsTheOldSessionFirst();
    void startWhileRunningOnATakenPortEndsStopped();
    void stopEmitsTheTotalsOfTheSession();
    void stopWhenIdleEmitsTheSameThreeSignals();
    void stopDropsGroupsAndIndexes();
    void ipv6SendersAreNotServed();
    void shutdownEmitsNothingAndIsFinal();
    void theDestructorEmitsNothing();
    void theClockIsZeroBeforeTheFirstStart();
};

void TestSrtlaEngineCore::aNewEngineIsIdle()
{
    SrtlaEngine engine;
    const EngineProbe probe{engine};
    QVERIFY(!engine.isRunning());
    QCOMPARE(probe.targetAddress(), QHostAddress(u"127.0.0.1"_s));
    QCOMPARE(probe.listenPort(), 0);
    QCOMPARE(probe.targetPort(), 0);
    QCOMPARE(probe.cleanupTimer().interval(), 2000);
    QCOMPARE(probe.statisticsTimer().interval(), 1000);
    QVERIFY(!probe.cleanupTimer().isActive());
    QVERIFY(!probe.statisticsTimer().isActive());
    QVERIFY(!probe.clock().isValid());
    QCOMPARE(engine.parent(), nullptr);

    QObject parent;
    QCOMPARE((new SrtlaEngine(&parent))->parent(), &parent);
}

void TestSrtlaEngineCore::startBindsAndEmitsSignalsInOrder()
{
    const quint16 port = Peer().socket.localPort(); // free again after this line
    SrtlaEngine engine;
    const EngineProbe probe{engine};
    const SignalRecord record(engine);
    QVERIFY2(engine.start(port, QHostAddress(u"127.0.0.2"_s), 5002), qPrintable(record.all.join(u'\n')));

    QVERIFY(engine.isRunning());
    QCOMPARE(record.all, (QStringList{u"running true"_s, u"status Läuft auf UDP %1 → 127.0.0.2:5002"_s.arg(port),
                                      u"log START | SRTLA UDP %1 → SRT 127.0.0.2:5002"_s.arg(port)}));
    QCOMPARE(probe.listenPort(), port);
    QCOMPARE(probe.targetPort(), 5002);
    QCOMPARE(probe.clientSocket().localPort(), port);
    QCOMPARE(probe.clientSocket().localAddress(), QHostAddress(QHostAddress::AnyIPv4));
    QVERIFY(probe.cleanupTimer().isActive());
    QVERIFY(probe.statisticsTimer().isActive());
    QVERIFY(probe.clock().isValid());
}

void TestSrtlaEngineCore::startOnAPortHeldExclusivelyFails()
{
    QUdpSocket holder;
    QVERIFY2(holder.bind(QHostAddress::AnyIPv4, 0, QUdpSocket::DontShareAddress), qPrintable(holder.errorString()));
    const quint16 port = holder.localPort();
    QUdpSocket rival;
    QVERIFY(!rival.bind(QHostAddress::AnyIPv4, port, QUdpSocket::DontShareAddress));

    SrtlaEngine engine;
    const EngineProbe probe{engine};
    const SignalRecord record(engine);
    QVERIFY(!engine.start(port, QHostAddress(u"127.0.0.2"_s), 5002));

    const QString error = rival.errorString(); // Qt's own text
    QCOMPARE(record.all,
             (QStringList{u"status UDP %1 konnte nicht geöffnet werden: %2"_s.arg(QString::number(port), error),
                          u"log FEHLER | SRTLA-Port %1: %2"_s.arg(QString::number(port), error)}));
    QVERIFY(!engine.isRunning());
    QCOMPARE(probe.listenPort(), 0);
    QCOMPARE(probe.targetAddress(), QHostAddress(u"127.0.0.2"_s));
    QCOMPARE(probe.targetPort(), 5002);
    QVERIFY(!probe.cleanupTimer().isActive());
    QVERIFY(!probe.statisticsTimer().isActive());
}

void TestSrtlaEngineCore::percentSignsInReasonsAreKept()
{
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    fixture.probe.removeGroup(id, u"%1 %2"_s);
    QCOMPARE(fixture.record.logLines.last(), u"GRUPPE | 616263646566 entfernt: %1 %2"_s);
}

void TestSrtlaEngineCore::startWhileRunningStopsTheOldSessionFirst()
{
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    const QElapsedTimer formerClock = fixture.probe.clock();
    QTRY_VERIFY_WITH_TIMEOUT(formerClock.elapsed() > 0, waitMs);
    fixture.record.all.clear();

    const quint16 port = fixture.port();
    QVERIFY(fixture.engine.start(port, QHostAddress(QHostAddress::LocalHost), 5002));

    QCOMPARE(fixture.record.all,
             (QStringList{u"log GRUPPE | 616263646566 entfernt: Receiver gestoppt"_s, u"running false"_s,
                          u"status Gestoppt"_s, u"statistics 0 0 0 2 516"_s, u"running true"_s,
                          u"status Läuft auf UDP %1 → 127.0.0.1:5002"_s.arg(port),
                          u"log START | SRTLA UDP %1 → SRT 127.0.0.1:5002"_s.arg(port)}));
    QCOMPARE(fixture.probe.receivedPackets(), 0U);
    QCOMPARE(fixture.probe.receivedBytes(), 0U);
    QVERIFY(fixture.probe.groups().isEmpty());
    QVERIFY(formerClock < fixture.probe.clock()); // started later
    // The new session serves senders.
    QVERIFY(!fixture.openGroup(link).isEmpty());
    QCOMPARE(fixture.probe.receivedPackets(), 1U);
}

void TestSrtlaEngineCore::startWhileRunningOnATakenPortEndsStopped()
{
    QUdpSocket holder;
    QVERIFY2(holder.bind(QHostAddress::AnyIPv4, 0, QUdpSocket::DontShareAddress), qPrintable(holder.errorString()));
    const quint16 taken = holder.localPort();
    EngineFixture fixture(EngineFixture::Timers::Running);
    const quint16 former = fixture.port();
    Peer link;
    QVERIFY(fixture.join(link, fixture.openGroup(link)));
    fixture.record.all.clear();

    QVERIFY(!fixture.engine.start(taken, QHostAddress(QHostAddress::LocalHost), 5002));

    const QString error = fixture.probe.clientSocket().errorString();
    QCOMPARE(fixture.record.all,
             (QStringList{u"log GRUPPE | 616263646566 entfernt: Receiver gestoppt"_s, u"running false"_s,
                          u"status Gestoppt"_s, u"statistics 0 0 0 2 516"_s,
                          u"status UDP %1 konnte nicht geöffnet werden: %2"_s.arg(QString::number(taken), error),
                          u"log FEHLER | SRTLA-Port %1: %2"_s.arg(QString::number(taken), error)}));
    QVERIFY(!fixture.engine.isRunning());
    QCOMPARE(fixture.probe.listenPort(), 0);
    QVERIFY(!fixture.probe.cleanupTimer().isActive());
    QVERIFY(!fixture.probe.statisticsTimer().isActive());
    // The former port is free again.
    QUdpSocket next;
    QVERIFY2(next.bind(QHostAddress::AnyIPv4, former, QUdpSocket::DontShareAddress), qPrintable(next.errorString()));
}

void TestSrtlaEngineCore::stopEmitsTheTotalsOfTheSession()
{
    EngineFixture fixture(EngineFixture::Timers::Running);
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    fixture.send(link, QByteArray(100, 'x'));
    QVERIFY(fixture.receivesNothing(link));
    fixture.record.all.clear();

    fixture.engine.stop();

    QCOMPARE(fixture.record.all, (QStringList{u"log GRUPPE | 616263646566 entfernt: Receiver gestoppt"_s,
                                              u"running false"_s, u"status Gestoppt"_s, u"statistics 0 0 0 4 874"_s}));
    QVERIFY(!fixture.engine.isRunning());
    QCOMPARE(fixture.probe.listenPort(), 0);
    QCOMPARE(fixture.probe.targetPort(), 0);
    QVERIFY(!fixture.probe.cleanupTimer().isActive());
    QVERIFY(!fixture.probe.statisticsTimer().isActive());
}

void TestSrtlaEngineCore::stopWhenIdleEmitsTheSameThreeSignals()
{
    SrtlaEngine engine;
    const SignalRecord record(engine);
    engine.stop();
    QCOMPARE(record.all, (QStringList{u"running false"_s, u"status Gestoppt"_s, u"statistics 0 0 0 0 0"_s}));
}

void TestSrtlaEngineCore::stopDropsGroupsAndIndexes()
{
    EngineFixture fixture;
    Peer first;
    Peer second;
    QVERIFY(fixture.join(first, fixture.openGroup(first, 'a')));
    QVERIFY(fixture.join(second, fixture.openGroup(second, 'b')));
    fixture.record.logLines.clear();
    fixture.engine.stop();
    fixture.record.logLines.sort(); // the groups are in the order of the hash table
    QCOMPARE(fixture.record.logLines, (QStringList{u"GRUPPE | 616263646566 entfernt: Receiver gestoppt"_s,
                                                   u"GRUPPE | 626364656667 entfernt: Receiver gestoppt"_s}));
    QVERIFY(fixture.probe.groups().isEmpty());
    QVERIFY(fixture.probe.pathIndex().isEmpty());
    QVERIFY(fixture.probe.senderIndex().isEmpty());
    QVERIFY(fixture.probe.sessionIndex().isEmpty());
}

void TestSrtlaEngineCore::ipv6SendersAreNotServed()
{
    EngineFixture fixture;
    QUdpSocket sender;
    if (!sender.bind(QHostAddress::LocalHostIPv6)) {
        QSKIP("no IPv6 here");
    }
    sender.writeDatagram(reg1(idProposal('a')), QHostAddress(QHostAddress::LocalHostIPv6), fixture.port());
    Peer link;
    QVERIFY(fixture.receivesNothing(link));
    QCOMPARE(fixture.probe.receivedPackets(), 1U); // the IPv4 one
    QVERIFY(fixture.probe.groups().isEmpty());
}

void TestSrtlaEngineCore::shutdownEmitsNothingAndIsFinal()
{
    EngineFixture fixture(EngineFixture::Timers::Running);
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    QVERIFY(fixture.forwardHandshake(link) != 0);
    fixture.record.all.clear();

    fixture.engine.shutdown();
    QVERIFY(!fixture.engine.isRunning());
    QCOMPARE(fixture.probe.listenPort(), 0);
    QCOMPARE(fixture.probe.targetPort(), 0);
    QVERIFY(!fixture.probe.cleanupTimer().isActive());
    QVERIFY(!fixture.probe.statisticsTimer().isActive());
    QVERIFY(fixture.probe.groups().isEmpty());
    QVERIFY(fixture.probe.pathIndex().isEmpty());
    QVERIFY(fixture.probe.senderIndex().isEmpty());
    QVERIFY(fixture.probe.sessionIndex().isEmpty());

    fixture.engine.stop();
    fixture.engine.shutdown();
    QCOMPARE(fixture.record.all, QStringList());
}

void TestSrtlaEngineCore::theDestructorEmitsNothing()
{
    auto engine = std::make_unique<SrtlaEngine>();
    QVERIFY(engine->start(0, QHostAddress(QHostAddress::LocalHost), 5002));
    const quint16 port = EngineProbe{*engine}.clientSocket().localPort();
    SignalRecord record(*engine);
    engine.reset();
    QCOMPARE(record.all, QStringList());
    QUdpSocket next;
    QVERIFY2(next.bind(QHostAddress::AnyIPv4, port, QUdpSocket::DontShareAddress), qPrintable(next.errorString()));
}

void TestSrtlaEngineCore::theClockIsZeroBeforeTheFirstStart()
{
    ClockedEngine engine;
    const EngineProbe probe{engine};
    SignalRecord record(engine);
    probe.handleDatagram(reg2(QByteArray(256, 'x')), {}); // no group and a closed socket
    probe.publishStatistics();
    QCOMPARE(probe.lastPublishedMs(), 0);
    QVERIFY(engine.start(0, QHostAddress(QHostAddress::LocalHost), 5002));
    QCOMPARE(probe.lastPublishedMs(), 0);
}

QTEST_GUILESS_MAIN(TestSrtlaEngineCore)
#include "tst_srtlaengine_core.moc"
