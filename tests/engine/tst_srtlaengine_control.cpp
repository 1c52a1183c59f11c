// SPDX-License-Identifier: GPL-2.0-or-later
// Slots that call start, stop or shutdown while one of these is emitting its signals: the latest call decides.
#include "enginefixture.h"

#include <QNetworkProxy>
#include <QTest>

using namespace Qt::StringLiterals;

class TestSrtlaEngineControl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theLatestCallDecides_data();
    void theLatestCallDecides();
    void groupsRegisteredDuringStopAreRemoved();
    void startAfterShutdownIsRefused();
    void groupSocketsUseNoProxy();
};

namespace {

/// A call of the engine; the result is that of start(), or isRunning() after the call.
using Call = bool (*)(SrtlaEngine &engine, quint16 freePort, quint16 takenPort);

bool startOnFreePort(SrtlaEngine &engine, quint16 freePort, quint16 /*takenPort*/)
{
    return engine.start(freePort, QHostAddress(QHostAddress::LocalHost), 5002);
}

bool startOnTakenPort(SrtlaEngine &engine, quint16 /*freePort*/, quint16 takenPort)
{
    return engine.start(takenPort, QHostAddress(QHostAddress::LocalHost), 5002);
}

bool stop(SrtlaEngine &engine, quint16 /*freePort*/, quint16 /*takenPort*/)
{
    engine.stop();
    return engine.isRunning();
}

bool shutDown(SrtlaEngine &engine, quint16 /*freePort*/, quint16 /*takenPort*/)
{
    engine.shutdown();
    return engine.isRunning();
}

struct NamedCall
{
    const char *name;
    Call call;
    QStringList emitted; ///< prefixes of the lines recorded for a running engine with groups
    QString last;        ///< prefix of the last one
};

const QStringList stopSignals{u"log GRUPPE"_s, u"running false"_s, u"status Gestoppt"_s, u"statistics 0 0 0 "_s};
const NamedCall outerCalls[] = {
    {"stop", stop, stopSignals, stopSignals.last()},
    {"start", startOnFreePort, stopSignals + QStringList{u"running true"_s, u"status Läuft"_s, u"log START"_s},
     u"log START"_s},
    {"a start that fails", startOnTakenPort, stopSignals + QStringList{u"status UDP"_s, u"log FEHLER"_s},
     u"log FEHLER"_s},
};

} // namespace

void TestSrtlaEngineControl::theLatestCallDecides_data()
{
    QTest::addColumn<Call>("outer");
    QTest::addColumn<QString>("line");
    QTest::addColumn<Call>("inner");
    QTest::addColumn<QString>("last");
    QTest::addColumn<bool>("runs");
    for (const NamedCall &outer : outerCalls) {
        for (const QString &line : outer.emitted) {
            const auto row = [&](const char *inner) -> QTestData & {
                return QTest::addRow("%s at \"%s\" of %s", inner, qPrintable(line), outer.name) << outer.call << line;
            };
            row("start") << Call(startOnFreePort) << u"log START"_s << true;
            row("a start that fails") << Call(startOnTakenPort) << u"log FEHLER"_s << false;
            row("stop") << Call(stop) << u"statistics 0 0 0 "_s << false;
            row("shutdown") << Call(shutDown) << line << false;
        }
    }
}

void TestSrtlaEngineControl::theLatestCallDecides()
{
    QFETCH(Call, outer);
    QFETCH(QString, line);
    QFETCH(Call, inner);
    QFETCH(QString, last);
    QFETCH(bool, runs);
    EngineFixture fixture;
    fixture.openGroup(remoteLink(1), 'a');
    fixture.openGroup(remoteLink(2), 'b');
    fixture.probe.cleanupTimer().start(); // the fixture has stopped both
    fixture.probe.statisticsTimer().start();
    QUdpSocket holder;
    QVERIFY(holder.bind(QHostAddress::AnyIPv4, 0, QUdpSocket::DontShareAddress));
    const quint16 takenPort = holder.localPort();
    const quint16 outerPort = Peer().socket.localPort();
    const quint16 innerPort = Peer().socket.localPort();
    fixture.record.all.clear();

    bool acted = false;
    const auto act = [&] {
        // The record is connected first, so the line is recorded already.
        if (!acted && fixture.record.all.last().startsWith(line)) {
            acted = true;
            inner(fixture.engine, innerPort, takenPort);
        }
    };
    connect(&fixture.engine, &SrtlaEngine::runningChanged, this, act);
    connect(&fixture.engine, &SrtlaEngine::statusChanged, this, act);
    connect(&fixture.engine, &SrtlaEngine::statisticsChanged, this, act);
    connect(&fixture.engine, &SrtlaEngine::logMessage, this, act);
    const bool result = outer(fixture.engine, outerPort, takenPort);

    QVERIFY2(acted, qPrintable(fixture.record.all.join(u'\n')));
    QVERIFY2(fixture.record.all.last().startsWith(last), qPrintable(fixture.record.all.join(u'\n')));
    QCOMPARE(result, runs);
    QCOMPARE(fixture.engine.isRunning(), runs);
    QCOMPARE(fixture.probe.cleanupTimer().isActive(), runs);
    QCOMPARE(fixture.probe.statisticsTimer().isActive(), runs);
    QCOMPARE(fixture.probe.listenPort(), runs ? innerPort : quint16{0});
    QVERIFY(fixture.probe.groups().isEmpty());
    if (runs) {
        QCOMPARE(fixture.port(), innerPort);
        Peer sender;
        QVERIFY(!fixture.openGroup(sender).isEmpty());
    } else {
        QCOMPARE(fixture.probe.clientSocket().state(), QAbstractSocket::UnconnectedState);
    }
}

void TestSrtlaEngineControl::groupsRegisteredDuringStopAreRemoved()
{
    EngineFixture fixture;
    fixture.openGroup(remoteLink(1), 'a');
    Peer sender;
    bool registered = false;
    connect(&fixture.engine, &SrtlaEngine::logMessage, this, [&](const QString &line) {
        if (!registered && line.startsWith(u"GRUPPE")) {
            registered = true;
            // receive() runs an event loop, in which the port is still open, as a message box would.
            QVERIFY(!fixture.openGroup(sender, 'b').isEmpty());
        }
    });
    fixture.engine.stop();
    QVERIFY(registered);
    QVERIFY(fixture.probe.groups().isEmpty());
    QVERIFY(fixture.probe.senderIndex().isEmpty());
    QCOMPARE(fixture.record.logLines.filter(u"entfernt: Receiver gestoppt"_s).size(), 2);
}

void TestSrtlaEngineControl::startAfterShutdownIsRefused()
{
    EngineFixture fixture;
    fixture.engine.shutdown();
    const quint16 port = Peer().socket.localPort();
    QVERIFY(!fixture.engine.start(port, QHostAddress(QHostAddress::LocalHost), 5002));
    QVERIFY(!fixture.engine.isRunning());
    QCOMPARE(fixture.probe.listenPort(), 0);
    QVERIFY(!fixture.probe.cleanupTimer().isActive());
    QVERIFY(!fixture.probe.statisticsTimer().isActive());
    QCOMPARE(fixture.record.all, QStringList());
}

void TestSrtlaEngineControl::groupSocketsUseNoProxy()
{
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.connectLinks({&link});
    QVERIFY(!id.isEmpty());
    QVERIFY(fixture.forwardHandshake(link) != 0);
    QCOMPARE(fixture.probe.group(id)->srtSocket->proxy().type(), QNetworkProxy::NoProxy);
}

QTEST_GUILESS_MAIN(TestSrtlaEngineControl)
#include "tst_srtlaengine_control.moc"
