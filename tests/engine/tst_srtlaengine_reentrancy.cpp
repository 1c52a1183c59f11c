// SPDX-License-Identifier: GPL-2.0-or-later
// Slots that stop, restart or shut down the engine while it emits a signal. Errors would be uses after free, which
// AddressSanitizer detects.
#include "enginefixture.h"

#include <QEventLoop>
#include <QSet>
#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;

using Action = std::function<void(EngineFixture &)>;

class TestSrtlaEngineReentrancy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void callsInsideALogLine_data();
    void callsInsideALogLine();
    void stoppingWhileAReplyIsSent();
    void aNewSessionInsideAnErrorLine();
    void stoppingInsideASocketSignal();
    void stoppingAtEveryRemoval();
    void shutdownDuringStopEndsAllSignals();
    void startInsideStatisticsResetsTheRate();

private:
    static void runSession(EngineFixture &fixture);
};

namespace {

struct NamedAction
{
    const char *name;
    Action action;
    bool keepsRunning;
};

const NamedAction actions[] = {
    {"stop", [](EngineFixture &fixture) { fixture.engine.stop(); }, false},
    {"restart",
     [](EngineFixture &fixture) {
         fixture.engine.stop();
         fixture.engine.start(0, QHostAddress(QHostAddress::LocalHost), fixture.listener.socket.localPort());
     },
     true},
    {"shut down", [](EngineFixture &fixture) { fixture.engine.shutdown(); }, false},
    {"clean up",
     [](EngineFixture &fixture) {
         fixture.engine.setMs = 100000;
         fixture.probe.cleanupSessions();
     },
     true},
    {"run an event loop",
     [](EngineFixture &) {
         QEventLoop loop;
         loop.processEvents();
     },
     true},
};

} // namespace

void TestSrtlaEngineReentrancy::callsInsideALogLine_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<Action>("action");
    QTest::addColumn<bool>("keepsRunning");
    for (const auto &[name, action, keepsRunning] : actions) {
        for (const char *line :
             {"REG1 | Neue Gruppe", "REG3 | Weg", "SRT | Gruppe 616263646566 →", "SRT | Gruppe 616263646566: ",
              "GRUPPE | 616263646566 entfernt: Neue Sitzung", "GRUPPE | 616263646566 entfernt: Neu-Registrierung",
              "TIMEOUT | Weg", "GRUPPE | 636465666768 entfernt: Timeout", "GRUPPE | 626364656667 entfernt: Timeout"}) {
            QTest::addRow("%s at \"%s\"", name, line) << QString::fromUtf8(line) << action << keepsRunning;
        }
    }
}

/// Causes every kind of log line, whatever a slot does to the engine in between.
void TestSrtlaEngineReentrancy::runSession(EngineFixture &fixture)
{
    const EngineProbe &probe = fixture.probe;
    const SrtlaEndpoint a{QHostAddress(QHostAddress::LocalHost), 40001};
    const SrtlaEndpoint b{QHostAddress(QHostAddress::LocalHost), 40002};
    const auto handle = [&](const QByteArray &datagram, const SrtlaEndpoint &endpoint) {
        if (fixture.engine.isRunning()) { // a stopped engine receives no datagrams
            probe.handleDatagram(datagram, endpoint);
        }
        // Groups exist only while the engine runs.
        QVERIFY(fixture.engine.isRunning() || probe.groups().isEmpty());
    };
    const auto open = [&](char seed, const SrtlaEndpoint &endpoint) {
        handle(reg1(idProposal(seed)), endpoint);
        const QByteArray id = probe.senderIndex().value(endpoint);
        handle(reg2(id), endpoint);
        handle(reg2(id), {endpoint.address, static_cast<quint16>(endpoint.port + 10)});
        return id;
    };
    const QByteArray first = open('a', a);
    handle(srtData(1), a);
    handle(srtData(2), a);
    if (auto group = probe.groups().value(first); group && group->srtSocket) {
        // Only the engine's table holds the group while its socket emits.
        SrtlaEngine::SrtSocket *const socket = group->srtSocket.get();
        group.reset();
        Q_EMIT socket->errorOccurred(QAbstractSocket::NetworkError);
    }
    handle(srtData(3), a);
    open('a', b); // the same sender
    open('b', b); // another one from the same endpoint
    open('a', a);
    open('c', b);
    open('b', a);
    fixture.engine.setMs = 50000;
    probe.cleanupSessions();
    probe.publishStatistics();
}

void TestSrtlaEngineReentrancy::callsInsideALogLine()
{
    QFETCH(QString, line);
    QFETCH(Action, action);
    QFETCH(bool, keepsRunning);
    EngineFixture fixture;
    fixture.engine.setMs = 0;
    bool acted = false;
    connect(&fixture.engine, &SrtlaEngine::logMessage, this, [&](const QString &logged) {
        if (!acted && logged.startsWith(line)) {
            acted = true;
            action(fixture);
        }
    });
    runSession(fixture);
    QVERIFY2(acted, "the line was not logged");
    QCoreApplication::processEvents();
    QCOMPARE(fixture.engine.isRunning(), keepsRunning); // a pending response must not reopen a closed socket
    if (!fixture.engine.isRunning()) {
        // Groups and sockets exist only while the engine runs.
        QVERIFY(fixture.probe.groups().isEmpty());
        QVERIFY(fixture.probe.pathIndex().isEmpty());
        QVERIFY(fixture.probe.senderIndex().isEmpty());
        QCOMPARE(fixture.probe.clientSocket().state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(fixture.probe.clientSocket().localPort(), 0);
    }
}

void TestSrtlaEngineReentrancy::stoppingWhileAReplyIsSent()
{
    EngineFixture fixture;
    Peer link;
    QVERIFY(fixture.join(link, fixture.openGroup(link)));
    const quint16 srtPort = fixture.forwardHandshake(link);
    QVERIFY(srtPort != 0);
    // The reply is sent inside the readyRead of the group's own socket.
    connect(&fixture.probe.clientSocket(), &QIODevice::bytesWritten, this, [&] { fixture.engine.stop(); });
    // Slots run in the order of their connection: this one after the engine's, if the socket still exists.
    bool outlived = false;
    connect(fixture.probe.groups().begin()->get()->srtSocket.get(), &QIODevice::readyRead, this,
            [&] { outlived = !fixture.engine.isRunning(); });
    fixture.reply(typed(0x8003, 20), srtPort);
    fixture.reply(typed(0x8003, 24), srtPort);
    QCOMPARE(link.receive(), typed(0x8003, 20));
    QVERIFY2(outlived, "the socket was destroyed inside its own signal");
    QVERIFY(!fixture.engine.isRunning());
    QVERIFY(fixture.probe.groups().isEmpty());
}

void TestSrtlaEngineReentrancy::aNewSessionInsideAnErrorLine()
{
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    QVERIFY(fixture.forwardHandshake(link) != 0);
    QWeakPointer<SrtlaGroup> group = fixture.probe.groups().value(id);
    connect(&fixture.engine, &SrtlaEngine::logMessage, this, [&](const QString &line) {
        if (line.startsWith(u"SRT | Gruppe 616263646566: ")) {
            // An event loop, as in a message box, in which the sender opens a new session.
            link.send(reg1(idProposal('a')), fixture.port());
            QVERIFY(QTest::qWaitFor([&] { return link.socket.hasPendingDatagrams(); }, waitMs));
            QVERIFY(!fixture.probe.group(id));
            QVERIFY(group); // its socket is still emitting
        }
    });
    SrtlaEngine::SrtSocket *const socket = group.toStrongRef()->srtSocket.get();
    bool outlived = false; // set by a slot that is connected after the engine's
    connect(socket, &QAbstractSocket::errorOccurred, this, [&] { outlived = true; });
    Q_EMIT socket->errorOccurred(QAbstractSocket::NetworkError);
    QVERIFY2(outlived, "the socket was destroyed inside its own signal");
    QTRY_VERIFY_WITH_TIMEOUT(!group, waitMs);
    QCOMPARE(fixture.probe.groups().size(), 1);
}

void TestSrtlaEngineReentrancy::stoppingInsideASocketSignal()
{
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.openGroup(link);
    QVERIFY(fixture.join(link, id));
    QVERIFY(fixture.forwardHandshake(link) != 0);
    QWeakPointer<SrtlaGroup> group = fixture.probe.groups().value(id);
    // Emitted while a forwarded packet is written.
    connect(fixture.probe.group(id)->srtSocket.get(), &QIODevice::bytesWritten, this, [&] { fixture.engine.stop(); });
    fixture.send(link, srtData(1));
    QTRY_VERIFY_WITH_TIMEOUT(!fixture.engine.isRunning(), waitMs);
    QVERIFY(!group); // destroyed after the signal
}

void TestSrtlaEngineReentrancy::stoppingAtEveryRemoval()
{
    EngineFixture fixture;
    fixture.openGroup(remoteLink(1), 'a');
    fixture.openGroup(remoteLink(2), 'b');
    fixture.record.logLines.clear();
    connect(&fixture.engine, &SrtlaEngine::logMessage, this, [&](const QString &line) {
        if (line.startsWith(u"GRUPPE | ")) {
            fixture.engine.stop();
        }
    });
    fixture.engine.stop();
    QCOMPARE(QSet<QString>(fixture.record.logLines.begin(), fixture.record.logLines.end()),
             (QSet<QString>{u"GRUPPE | 616263646566 entfernt: Receiver gestoppt"_s,
                            u"GRUPPE | 626364656667 entfernt: Receiver gestoppt"_s}));
    QCOMPARE(fixture.record.logLines.size(), 2);
    QVERIFY(fixture.probe.groups().isEmpty());
    QVERIFY(fixture.probe.sessionIndex().isEmpty());
}

void TestSrtlaEngineReentrancy::shutdownDuringStopEndsAllSignals()
{
    EngineFixture fixture;
    fixture.openGroup(remoteLink(1), 'a');
    fixture.record.all.clear();
    connect(&fixture.engine, &SrtlaEngine::logMessage, this, [&] { fixture.engine.shutdown(); });
    fixture.engine.stop();
    QCOMPARE(fixture.record.all, QStringList{u"log GRUPPE | 616263646566 entfernt: Receiver gestoppt"_s});
}

void TestSrtlaEngineReentrancy::startInsideStatisticsResetsTheRate()
{
    EngineFixture fixture;
    fixture.engine.setMs = 5000;
    fixture.probe.receivedBytes() = 1000;
    bool started = false;
    connect(&fixture.engine, &SrtlaEngine::statisticsChanged, this, [&] {
        if (!started) {
            started = true;
            fixture.engine.start(0, QHostAddress(QHostAddress::LocalHost), 5002);
        }
    });
    fixture.probe.publishStatistics();
    // Base of the new session's first rate.
    QCOMPARE(fixture.probe.lastPublishedMs(), 0);
    fixture.engine.setMs = 1000;
    fixture.probe.receivedBytes() = 1250000;
    fixture.probe.publishStatistics();
    QCOMPARE(fixture.record.all.last(), u"statistics 0 0 10 0 1250000"_s);
}

QTEST_GUILESS_MAIN(TestSrtlaEngineReentrancy)
#include "tst_srtlaengine_reentrancy.moc"
