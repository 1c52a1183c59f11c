// SPDX-License-Identifier: GPL-2.0-or-later
// Silent links and groups, and the statistics, on a clock that the test moves.
#include "enginefixture.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestSrtlaEngineTimeouts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aLinkIsDroppedAfterMoreThan8000Ms_data();
    void aLinkIsDroppedAfterMoreThan8000Ms();
    void theGroupGoesWithItsLastLinkAfterAllLinkLines();
    void aGroupWithRecentActivityOutlivesItsLastLink();
    void aGroupWithoutLinksIsDropped_data();
    void aGroupWithoutLinksIsDropped();
    void onlyTheDeadLinkOfAGroupGoes();
    void aGroupWithALinkStaysWhateverItsOwnTime();
    void keepalivesKeepALinkAndItsGroup();
    void shortPacketsKeepALink();
    void aRepeatedReg2DoesNotKeepALink();
    void formerLinksAreNotFound();
    void pendingSequenceNumbersAreForgotten();
    void statistics_data();
    void statistics();
    void twoTicksWithoutTrafficPublishNoRate();
    void groupsAndLinksAreCounted();
    void whateverArrivesIsCounted();
    void theTimersCallTheirSlots();

private:
    EngineFixture *fixture = nullptr;
    /// A link of any address, without a socket.
    static SrtlaEndpoint link(quint16 port) { return {QHostAddress(u"192.0.2.7"_s), port}; }
    QByteArray openGroup(char seed, quint16 port) const;

private Q_SLOTS:
    void init()
    {
        fixture = new EngineFixture;
        fixture->engine.setMs = 0;
    }
    void cleanup() { delete std::exchange(fixture, nullptr); }
};

QByteArray TestSrtlaEngineTimeouts::openGroup(char seed, quint16 port) const
{
    fixture->probe.handleDatagram(reg1(idProposal(seed)), link(port));
    return fixture->probe.senderIndex().value(link(port));
}

void TestSrtlaEngineTimeouts::aLinkIsDroppedAfterMoreThan8000Ms_data()
{
    QTest::addColumn<qint64>("silentMs");
    QTest::addColumn<bool>("kept");
    QTest::newRow("just heard") << qint64{0} << true;
    QTest::newRow("7999 ms") << qint64{7999} << true;
    QTest::newRow("8000 ms") << qint64{8000} << true;
    QTest::newRow("8001 ms") << qint64{8001} << false;
    QTest::newRow("an hour") << qint64{3600000} << false;
}

void TestSrtlaEngineTimeouts::aLinkIsDroppedAfterMoreThan8000Ms()
{
    QFETCH(qint64, silentMs);
    QFETCH(bool, kept);
    const QByteArray id = openGroup('a', 40000);
    fixture->probe.handleDatagram(reg2(id), link(40000));
    fixture->engine.setMs = 500;
    fixture->probe.handleDatagram(srtData(1), link(40000));
    fixture->probe.group(id)->lastActivityMs = 500 + silentMs; // the link alone
    fixture->record.all.clear();

    fixture->engine.setMs = 500 + silentMs;
    fixture->probe.cleanupSessions();
    QCOMPARE(fixture->probe.path(id, link(40000)) != nullptr, kept);
    QCOMPARE(fixture->record.all, kept ? QStringList() : QStringList{u"log TIMEOUT | Weg 192.0.2.7:40000 entfernt"_s});
}

void TestSrtlaEngineTimeouts::theGroupGoesWithItsLastLinkAfterAllLinkLines()
{
    const QByteArray first = openGroup('a', 1);
    const QByteArray second = openGroup('b', 2);
    for (const quint16 port : {quint16{1}, quint16{11}}) {
        fixture->probe.handleDatagram(reg2(first), link(port));
    }
    fixture->probe.handleDatagram(reg2(second), link(2));
    fixture->record.logLines.clear();
    fixture->engine.setMs = 8001;
    fixture->probe.cleanupSessions();

    QVERIFY(fixture->probe.groups().isEmpty());
    QVERIFY(fixture->probe.pathIndex().isEmpty());
    QVERIFY(fixture->probe.senderIndex().isEmpty());
    QStringList linkLines = fixture->record.logLines.first(3);
    QStringList groupLines = fixture->record.logLines.sliced(3);
    linkLines.sort(); // within their kind, lines come in the tables' order
    groupLines.sort();
    QCOMPARE(linkLines, (QStringList{u"TIMEOUT | Weg 192.0.2.7:1 entfernt"_s, u"TIMEOUT | Weg 192.0.2.7:11 entfernt"_s,
                                     u"TIMEOUT | Weg 192.0.2.7:2 entfernt"_s}));
    QCOMPARE(groupLines,
             (QStringList{u"GRUPPE | 616263646566 entfernt: Timeout"_s, u"GRUPPE | 626364656667 entfernt: Timeout"_s}));
}

void TestSrtlaEngineTimeouts::aGroupWithRecentActivityOutlivesItsLastLink()
{
    const QByteArray id = openGroup('a', 1);
    fixture->probe.handleDatagram(reg2(id), link(1));
    fixture->engine.setMs = 3000;
    fixture->probe.handleDatagram(reg2(id), link(1)); // refreshes the group, not the link
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

void TestSrtlaEngineTimeouts::aGroupWithoutLinksIsDropped_data()
{
    QTest::addColumn<qint64>("silentMs");
    QTest::addColumn<bool>("kept");
    QTest::newRow("8000 ms after its REG1") << qint64{8000} << true;
    QTest::newRow("8001 ms after its REG1") << qint64{8001} << false;
}

void TestSrtlaEngineTimeouts::aGroupWithoutLinksIsDropped()
{
    QFETCH(qint64, silentMs);
    QFETCH(bool, kept);
    const QByteArray id = openGroup('a', 1);
    fixture->engine.setMs = silentMs;
    fixture->probe.cleanupSessions();
    QCOMPARE(fixture->probe.group(id) != nullptr, kept);
    QCOMPARE(fixture->record.logLines.contains(u"GRUPPE | 616263646566 entfernt: Timeout"_s), !kept);
}

void TestSrtlaEngineTimeouts::onlyTheDeadLinkOfAGroupGoes()
{
    const QByteArray id = openGroup('a', 1);
    fixture->probe.handleDatagram(reg2(id), link(1));
    fixture->probe.handleDatagram(reg2(id), link(2));
    fixture->probe.handleDatagram(srtData(1), link(1));
    const SrtlaEngine::SrtSocket *const socket = fixture->probe.group(id)->srtSocket.get();
    QVERIFY(socket);
    fixture->engine.setMs = 8001;
    fixture->probe.handleDatagram(srtData(2), link(2));
    fixture->record.logLines.clear();
    fixture->probe.cleanupSessions();
    QCOMPARE(fixture->record.logLines, QStringList{u"TIMEOUT | Weg 192.0.2.7:1 entfernt"_s});
    QVERIFY(fixture->probe.path(id, link(2)));
    QCOMPARE(fixture->probe.group(id)->srtSocket.get(), socket);
    QCOMPARE(socket->state(), QAbstractSocket::ConnectedState);
}

void TestSrtlaEngineTimeouts::aGroupWithALinkStaysWhateverItsOwnTime()
{
    const QByteArray id = openGroup('a', 1);
    fixture->engine.setMs = 8001;
    fixture->probe.handleDatagram(reg2(id), link(1));
    fixture->probe.group(id)->lastActivityMs = 0;
    fixture->probe.cleanupSessions();
    QVERIFY(fixture->probe.group(id));
}

void TestSrtlaEngineTimeouts::keepalivesKeepALinkAndItsGroup()
{
    const QByteArray id = openGroup('a', 1);
    fixture->probe.handleDatagram(reg2(id), link(1));
    fixture->record.logLines.clear();
    for (qint64 now = 8000; now <= 400000; now += 8000) {
        fixture->engine.setMs = now;
        fixture->probe.cleanupSessions();
        fixture->probe.handleDatagram(typed(0x9000, 10), link(1));
    }
    QVERIFY(fixture->probe.path(id, link(1)));
    QCOMPARE(fixture->record.logLines, QStringList());
}

void TestSrtlaEngineTimeouts::shortPacketsKeepALink()
{
    const QByteArray id = openGroup('a', 1);
    fixture->probe.handleDatagram(reg2(id), link(1));
    fixture->engine.setMs = 8000;
    fixture->probe.handleDatagram(QByteArray(1, 'x'), link(1));
    fixture->engine.setMs = 16000;
    fixture->probe.cleanupSessions();
    QVERIFY(fixture->probe.path(id, link(1)));
}

void TestSrtlaEngineTimeouts::aRepeatedReg2DoesNotKeepALink()
{
    const QByteArray id = openGroup('a', 1);
    fixture->probe.handleDatagram(reg2(id), link(1));
    fixture->engine.setMs = 8001;
    fixture->probe.handleDatagram(reg2(id), link(1));
    fixture->probe.cleanupSessions();
    QVERIFY(!fixture->probe.path(id, link(1)));
    QVERIFY(fixture->probe.group(id));
}

void TestSrtlaEngineTimeouts::formerLinksAreNotFound()
{
    Peer peer;
    const QByteArray id = fixture->openGroup(peer);
    QVERIFY(fixture->join(peer, id));
    fixture->engine.setMs = 8001;
    fixture->probe.cleanupSessions();
    QVERIFY(!fixture->probe.group(id));
    QVERIFY(!fixture->probe.pathIndex().contains(peer.endpoint()));
    fixture->send(peer, typed(0x9000, 10));
    QVERIFY(fixture->nothingAnswered(peer));
    QCOMPARE(fixture->ask(peer, reg2(id)), regNgp);
}

void TestSrtlaEngineTimeouts::pendingSequenceNumbersAreForgotten()
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
    QCOMPARE(fixture->ask(other, typed(0x9000, 2)), typed(0x9000, 2));
    fixture->probe.cleanupSessions();
    QVERIFY(fixture->join(gone, id));
    fixture->send(gone, srtData(9));
    QCOMPARE(fixture->listener.receive(), srtData(9));
    QVERIFY(fixture->nothingAnswered(gone));
    QCOMPARE(fixture->probe.path(id, gone.endpoint())->pendingAcks, QList<quint32>{9});
}

void TestSrtlaEngineTimeouts::statistics_data()
{
    QTest::addColumn<qint64>("elapsedMs");
    QTest::addColumn<quint64>("bytes");
    QTest::addColumn<QString>("published");
    QTest::newRow("10 Mbit/s") << qint64{1000} << quint64{1250000} << u"statistics 0 0 10 0 1250000"_s;
    QTest::newRow("a late tick") << qint64{2000} << quint64{1250000} << u"statistics 0 0 5 0 1250000"_s;
    QTest::newRow("the same millisecond") << qint64{0} << quint64{125} << u"statistics 0 0 1 0 125"_s;
    QTest::newRow("one byte") << qint64{1000} << quint64{1}
                              << u"statistics 0 0 %1 0 1"_s.arg(QString::number(8.0 * 1000.0 / 1e9, 'g', 17));
    QTest::newRow("nothing") << qint64{1000} << quint64{0} << u"statistics 0 0 0 0 0"_s;
}

void TestSrtlaEngineTimeouts::statistics()
{
    QFETCH(qint64, elapsedMs);
    QFETCH(quint64, bytes);
    QFETCH(QString, published);
    fixture->engine.setMs = 5000;
    fixture->probe.publishStatistics();
    fixture->record.all.clear();
    fixture->engine.setMs = 5000 + elapsedMs;
    fixture->probe.receivedBytes() += bytes;
    fixture->probe.publishStatistics();
    QCOMPARE(fixture->record.all, QStringList{published});
    QCOMPARE(fixture->probe.lastPublishedMs(), 5000 + elapsedMs);
}

void TestSrtlaEngineTimeouts::twoTicksWithoutTrafficPublishNoRate()
{
    fixture->probe.receivedBytes() = 1250000;
    fixture->engine.setMs = 1000;
    fixture->probe.publishStatistics();
    QCOMPARE(fixture->record.all.last(), u"statistics 0 0 10 0 1250000"_s); // the first divides by the time since start
    fixture->record.all.clear();
    fixture->engine.setMs = 2000;
    fixture->probe.publishStatistics();
    fixture->engine.setMs = 3000;
    fixture->probe.publishStatistics();
    QCOMPARE(fixture->record.all, (QStringList{u"statistics 0 0 0 0 1250000"_s, u"statistics 0 0 0 0 1250000"_s}));
}

void TestSrtlaEngineTimeouts::groupsAndLinksAreCounted()
{
    const QByteArray first = openGroup('a', 1);
    openGroup('b', 2);
    fixture->probe.handleDatagram(reg2(first), link(1));
    fixture->probe.handleDatagram(reg2(first), link(3));
    fixture->engine.setMs = 1000;
    fixture->record.all.clear();
    fixture->probe.publishStatistics();
    QCOMPARE(fixture->record.all, QStringList{u"statistics 2 2 0 0 0"_s});
}

void TestSrtlaEngineTimeouts::whateverArrivesIsCounted()
{
    Peer peer;
    fixture->send(peer, QByteArray());
    fixture->send(peer, QByteArray(2000, 'x'));
    const QByteArray id = fixture->openGroup(peer);
    QVERIFY(fixture->join(peer, id));
    fixture->record.all.clear();
    fixture->engine.setMs = 1000;
    fixture->probe.publishStatistics();
    const double rate = 2516.0 * 8.0 * 1000.0 / 1e9;
    QCOMPARE(fixture->record.all, QStringList{u"statistics 1 1 %1 4 2516"_s.arg(QString::number(rate, 'g', 17))});
}

void TestSrtlaEngineTimeouts::theTimersCallTheirSlots()
{
    openGroup('a', 1);
    fixture->record.all.clear();
    QTRY_VERIFY_WITH_TIMEOUT(!fixture->record.all.isEmpty(), ampleMs);
    QVERIFY(fixture->record.all.first().startsWith(u"statistics 1 0 "));
    fixture->engine.setMs = 9000;
    QTRY_VERIFY_WITH_TIMEOUT(fixture->probe.groups().isEmpty(), ampleMs);
    QVERIFY(fixture->record.logLines.contains(u"GRUPPE | 616263646566 entfernt: Timeout"_s));
}

QTEST_GUILESS_MAIN(TestSrtlaEngineTimeouts)
#include "tst_srtlaengine_timeouts.moc"
