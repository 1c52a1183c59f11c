// SPDX-License-Identifier: GPL-2.0-or-later
// Time-outs of links and groups, with a simulated clock.
#include "enginefixture.h"

#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

class TestSrtlaEngineTimeouts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { fixture.reset(); }
    void aLinkIsRemovedAfterMoreThan8000Ms_data();
    void aLinkIsRemovedAfterMoreThan8000Ms();
    void groupIsRemovedAfterItsLastLink();
    void activeGroupOutlivesItsLastLink();
    void aGroupWithoutLinksIsRemoved_data();
    void aGroupWithoutLinksIsRemoved();
    void onlyTheSilentLinkIsRemoved();
    void groupWithALinkDoesNotTimeOut();
    void keepalivesKeepALinkAndItsGroup();
    void shortPacketsKeepALink();
    void aRepeatedReg2DoesNotKeepALink();
    void removedLinksAreNotFound();
    void pendingSequenceNumbersAreDropped();
    void timersCallTheirSlots();

private:
    std::unique_ptr<EngineFixture> fixture;
};

void TestSrtlaEngineTimeouts::init()
{
    fixture = std::make_unique<EngineFixture>();
    fixture->engine.setMs = 0;
}

void TestSrtlaEngineTimeouts::aLinkIsRemovedAfterMoreThan8000Ms_data()
{
    QTest::addColumn<qint64>("silentMs");
    QTest::addColumn<bool>("kept");
    QTest::newRow("0 ms") << qint64{0} << true;
    QTest::newRow("7999 ms") << qint64{7999} << true;
    QTest::newRow("8000 ms") << qint64{8000} << true;
    QTest::newRow("8001 ms") << qint64{8001} << false;
    QTest::newRow("an hour") << qint64{3600000} << false;
}

void TestSrtlaEngineTimeouts::aLinkIsRemovedAfterMoreThan8000Ms()
{
    QFETCH(qint64, silentMs);
    QFETCH(bool, kept);
    const QByteArray id = fixture->openGroup(remoteLink(40000), 'a');
    fixture->probe.handleDatagram(reg2(id), remoteLink(40000));
    fixture->engine.setMs = 500;
    fixture->probe.handleDatagram(srtData(1), remoteLink(40000));
    fixture->probe.group(id)->lastActivityMs = 500 + silentMs; // only the link is silent
    fixture->record.all.clear();

    fixture->engine.setMs = 500 + silentMs;
    fixture->probe.cleanupSessions();
    QCOMPARE(fixture->probe.path(id, remoteLink(40000)) != nullptr, kept);
    QCOMPARE(fixture->record.all, kept ? QStringList() : QStringList{u"log TIMEOUT | Weg 192.0.2.7:40000 entfernt"_s});
}

void TestSrtlaEngineTimeouts::groupIsRemovedAfterItsLastLink()
{
    const QByteArray first = fixture->openGroup(remoteLink(1), 'a');
    const QByteArray second = fixture->openGroup(remoteLink(2), 'b');
    for (const quint16 port : {quint16{1}, quint16{11}}) {
        fixture->probe.handleDatagram(reg2(first), remoteLink(port));
    }
    fixture->probe.handleDatagram(reg2(second), remoteLink(2));
    fixture->record.logLines.clear();
    fixture->engine.setMs = 8001;
    fixture->probe.cleanupSessions();

    QVERIFY(fixture->probe.groups().isEmpty());
    QVERIFY(fixture->probe.pathIndex().isEmpty());
    QVERIFY(fixture->probe.senderIndex().isEmpty());
    QStringList linkLines = fixture->record.logLines.first(3);
    QStringList groupLines = fixture->record.logLines.sliced(3);
    linkLines.sort(); // within each kind the lines are in the order of the hash table
    groupLines.sort();
    QCOMPARE(linkLines, (QStringList{u"TIMEOUT | Weg 192.0.2.7:1 entfernt"_s, u"TIMEOUT | Weg 192.0.2.7:11 entfernt"_s,
                                     u"TIMEOUT | Weg 192.0.2.7:2 entfernt"_s}));
    QCOMPARE(groupLines,
             (QStringList{u"GRUPPE | 616263646566 entfernt: Timeout"_s, u"GRUPPE | 626364656667 entfernt: Timeout"_s}));
}

void TestSrtlaEngineTimeouts::activeGroupOutlivesItsLastLink()
{
    const QByteArray id = fixture->openGroup(remoteLink(1), 'a');
    fixture->probe.handleDatagram(reg2(id), remoteLink(1));
    fixture->engine.setMs = 3000;
    fixture->probe.handleDatagram(reg2(id), remoteLink(1)); // refreshes the group, not the link
    fixture->engine.setMs = 8001;
    fixture->probe.cleanupSessions();
    QVERIFY(fixture->probe.group(id));
    QVERIFY(fixture->probe.group(id)->paths.isEmpty());
    fixture->engine.setMs = 11000;
    fixture->probe.cleanupSessions();
    QVERIFY(fixture->probe.group(id));
    fixture->engine.setMs = 11001;
    fixture->probe.cleanupSessions();
    QVERIFY(!fixture->probe.group(id));
    QCOMPARE(fixture->record.logLines.last(), u"GRUPPE | 616263646566 entfernt: Timeout"_s);
}

void TestSrtlaEngineTimeouts::aGroupWithoutLinksIsRemoved_data()
{
    QTest::addColumn<qint64>("silentMs");
    QTest::addColumn<bool>("kept");
    QTest::newRow("8000 ms after its REG1") << qint64{8000} << true;
    QTest::newRow("8001 ms after its REG1") << qint64{8001} << false;
}

void TestSrtlaEngineTimeouts::aGroupWithoutLinksIsRemoved()
{
    QFETCH(qint64, silentMs);
    QFETCH(bool, kept);
    const QByteArray id = fixture->openGroup(remoteLink(1), 'a');
    fixture->engine.setMs = silentMs;
    fixture->probe.cleanupSessions();
    QCOMPARE(fixture->probe.group(id) != nullptr, kept);
    QCOMPARE(fixture->record.logLines.contains(u"GRUPPE | 616263646566 entfernt: Timeout"_s), !kept);
}

void TestSrtlaEngineTimeouts::onlyTheSilentLinkIsRemoved()
{
    const QByteArray id = fixture->openGroup(remoteLink(1), 'a');
    fixture->probe.handleDatagram(reg2(id), remoteLink(1));
    fixture->probe.handleDatagram(reg2(id), remoteLink(2));
    fixture->probe.handleDatagram(srtData(1), remoteLink(1));
    const SrtlaEngine::SrtSocket *const socket = fixture->probe.group(id)->srtSocket.get();
    QVERIFY(socket);
    fixture->engine.setMs = 8001;
    fixture->probe.handleDatagram(srtData(2), remoteLink(2));
    fixture->record.logLines.clear();
    fixture->probe.cleanupSessions();
    QCOMPARE(fixture->record.logLines, QStringList{u"TIMEOUT | Weg 192.0.2.7:1 entfernt"_s});
    QVERIFY(fixture->probe.path(id, remoteLink(2)));
    QCOMPARE(fixture->probe.group(id)->srtSocket.get(), socket);
    QCOMPARE(socket->state(), QAbstractSocket::ConnectedState);
}

void TestSrtlaEngineTimeouts::groupWithALinkDoesNotTimeOut()
{
    const QByteArray id = fixture->openGroup(remoteLink(1), 'a');
    fixture->engine.setMs = 8001;
    fixture->probe.handleDatagram(reg2(id), remoteLink(1));
    fixture->probe.group(id)->lastActivityMs = 0;
    fixture->probe.cleanupSessions();
    QVERIFY(fixture->probe.group(id));
}

void TestSrtlaEngineTimeouts::keepalivesKeepALinkAndItsGroup()
{
    const QByteArray id = fixture->openGroup(remoteLink(1), 'a');
    fixture->probe.handleDatagram(reg2(id), remoteLink(1));
    fixture->record.logLines.clear();
    for (qint64 now = 8000; now <= 400000; now += 8000) {
        fixture->engine.setMs = now;
        fixture->probe.cleanupSessions();
        fixture->probe.handleDatagram(typed(0x9000, 10), remoteLink(1));
    }
    QVERIFY(fixture->probe.path(id, remoteLink(1)));
    QCOMPARE(fixture->record.logLines, QStringList());
}

void TestSrtlaEngineTimeouts::shortPacketsKeepALink()
{
    const QByteArray id = fixture->openGroup(remoteLink(1), 'a');
    fixture->probe.handleDatagram(reg2(id), remoteLink(1));
    fixture->engine.setMs = 8000;
    fixture->probe.handleDatagram(QByteArray(1, 'x'), remoteLink(1));
    fixture->engine.setMs = 16000;
    fixture->probe.cleanupSessions();
    QVERIFY(fixture->probe.path(id, remoteLink(1)));
}

void TestSrtlaEngineTimeouts::aRepeatedReg2DoesNotKeepALink()
{
    const QByteArray id = fixture->openGroup(remoteLink(1), 'a');
    fixture->probe.handleDatagram(reg2(id), remoteLink(1));
    fixture->engine.setMs = 8001;
    fixture->probe.handleDatagram(reg2(id), remoteLink(1));
    fixture->probe.cleanupSessions();
    QVERIFY(!fixture->probe.path(id, remoteLink(1)));
    QVERIFY(fixture->probe.group(id));
}

void TestSrtlaEngineTimeouts::removedLinksAreNotFound()
{
    Peer peer;
    const QByteArray id = fixture->openGroup(peer);
    QVERIFY(fixture->join(peer, id));
    fixture->engine.setMs = 8001;
    fixture->probe.cleanupSessions();
    QVERIFY(!fixture->probe.group(id));
    QVERIFY(!fixture->probe.pathIndex().contains(peer.endpoint()));
    fixture->send(peer, typed(0x9000, 10));
    QVERIFY(fixture->receivesNothing(peer));
    QCOMPARE(fixture->exchange(peer, reg2(id)), regNgp);
}

void TestSrtlaEngineTimeouts::pendingSequenceNumbersAreDropped()
{
    Peer gone;
    Peer other;
    const QByteArray id = fixture->openGroup(gone);
    QVERIFY(fixture->join(gone, id));
    QVERIFY(fixture->join(other, id));
    for (quint32 sequence = 0; sequence < 9; ++sequence) {
        fixture->send(gone, srtData(sequence));
        QCOMPARE(fixture->listener.receive(), srtData(sequence));
    }
    fixture->engine.setMs = 8001;
    QCOMPARE(fixture->exchange(other, typed(0x9000, 2)), typed(0x9000, 2));
    fixture->probe.cleanupSessions();
    QVERIFY(fixture->join(gone, id));
    fixture->send(gone, srtData(9));
    QCOMPARE(fixture->listener.receive(), srtData(9));
    QVERIFY(fixture->receivesNothing(gone));
    QCOMPARE(fixture->probe.path(id, gone.endpoint())->pendingAcks, QList<quint32>{9});
}

void TestSrtlaEngineTimeouts::timersCallTheirSlots()
{
    fixture = std::make_unique<EngineFixture>(EngineFixture::Timers::Running);
    fixture->engine.setMs = 0;
    fixture->openGroup(remoteLink(1), 'a');
    fixture->record.all.clear();
    QTRY_VERIFY_WITH_TIMEOUT(!fixture->record.all.isEmpty(), waitMs);
    QVERIFY(fixture->record.all.first().startsWith(u"statistics 1 0 "));
    fixture->engine.setMs = 9000;
    QTRY_VERIFY_WITH_TIMEOUT(fixture->probe.groups().isEmpty(), waitMs);
    QVERIFY(fixture->record.logLines.contains(u"GRUPPE | 616263646566 entfernt: Timeout"_s));
}

QTEST_GUILESS_MAIN(TestSrtlaEngineTimeouts)
#include "tst_srtlaengine_timeouts.moc"
