// SPDX-License-Identifier: GPL-2.0-or-later
// Groups that replace each other, and links that change their group.
#include "enginefixture.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestSrtlaEngineSessions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void reg1RemovesTheSendersGroupThenTheEndpointsGroup();
    void linkOfARemovedGroupJoinsAnother_data();
    void linkOfARemovedGroupJoinsAnother();
    void cleanupSkipsGroupsRemovedByASlot();
    void unknownGroupIsAnsweredWithNgpOnARegisteredLink();
    void linksDifferByAddress();
    void replyEndpointIncludesTheAddress();
    void replyEndpointOutlivesTheLastLink();
};

void TestSrtlaEngineSessions::reg1RemovesTheSendersGroupThenTheEndpointsGroup()
{
    EngineFixture fixture;
    const QByteArray ofEndpoint = fixture.openGroup(remoteLink(1), 'a');
    const QByteArray ofSender = fixture.openGroup(remoteLink(2), 'b');
    fixture.record.logLines.clear();
    const QByteArray id = fixture.openGroup(remoteLink(1), 'b');
    QCOMPARE(fixture.record.logLines, (QStringList{u"GRUPPE | 626364656667 entfernt: Neue Sitzung desselben Senders"_s,
                                                   u"GRUPPE | 616263646566 entfernt: Neu-Registrierung"_s,
                                                   u"REG1 | Neue Gruppe 626364656667 von 192.0.2.7:1"_s}));
    QVERIFY(!fixture.probe.group(ofEndpoint));
    QVERIFY(!fixture.probe.group(ofSender));
    QCOMPARE(fixture.probe.groups().keys(), QList{id});
    QCOMPARE(fixture.probe.senderIndex().size(), 1);
    QCOMPARE(fixture.probe.sessionIndex().size(), 1);
}

void TestSrtlaEngineSessions::linkOfARemovedGroupJoinsAnother_data()
{
    QTest::addColumn<int>("end");
    QTest::newRow("new session of the sender") << 0;
    QTest::newRow("new registration of the endpoint") << 1;
    QTest::newRow("time-out") << 2;
}

void TestSrtlaEngineSessions::linkOfARemovedGroupJoinsAnother()
{
    QFETCH(int, end);
    EngineFixture fixture;
    fixture.engine.setMs = 0;
    Peer owner;
    Peer link;
    const QByteArray first = fixture.openGroup(owner, 'a');
    QVERIFY(fixture.join(link, first));
    QByteArray second;
    switch (end) {
    case 0:
        second = fixture.openGroup(remoteLink(1), 'a');
        break;
    case 1:
        second = fixture.openGroup(owner, 'b');
        break;
    default:
        fixture.engine.setMs = 8001;
        fixture.probe.cleanupSessions();
        second = fixture.openGroup(owner, 'c');
    }
    QVERIFY(!fixture.probe.group(first));
    QVERIFY(fixture.join(link, second));
    QCOMPARE(fixture.probe.pathIndex().value(link.endpoint()), second);
    QVERIFY(fixture.forwardHandshake(link) != 0);
    QCOMPARE(fixture.probe.path(second, link.endpoint())->packets, 1U);
}

void TestSrtlaEngineSessions::cleanupSkipsGroupsRemovedByASlot()
{
    EngineFixture fixture;
    fixture.engine.setMs = 0;
    const QByteArray first = fixture.openGroup(remoteLink(1), 'a');
    const QByteArray second = fixture.openGroup(remoteLink(2), 'b');
    // Two links each: when the first is logged, one remains in its group and two in the other.
    for (const quint16 port : {quint16{1}, quint16{11}}) {
        fixture.probe.handleDatagram(reg2(first), remoteLink(port));
    }
    for (const quint16 port : {quint16{2}, quint16{12}}) {
        fixture.probe.handleDatagram(reg2(second), remoteLink(port));
    }
    fixture.engine.setMs = 8001;
    fixture.record.logLines.clear();
    connect(&fixture.engine, &SrtlaEngine::logMessage, this, [&](const QString &line) {
        if (line.startsWith(u"TIMEOUT"_s)) {
            fixture.probe.removeGroup(first, u"slot"_s);
            fixture.probe.removeGroup(second, u"slot"_s);
            // A new group with links of the removed ones: it must not be changed.
            const QByteArray third = fixture.openGroup(remoteLink(3), 'c');
            for (const quint16 port : {quint16{1}, quint16{11}, quint16{2}, quint16{12}}) {
                fixture.probe.handleDatagram(reg2(third), remoteLink(port));
            }
        }
    });
    fixture.probe.cleanupSessions();
    QCOMPARE(fixture.record.logLines.filter(u"TIMEOUT"_s).size(), 1);
    QCOMPARE(fixture.record.logLines.filter(u"entfernt: Timeout"_s).size(), 0);
    QCOMPARE(fixture.probe.groups().size(), 1);
    QCOMPARE(fixture.probe.pathIndex().size(), 4);
}

void TestSrtlaEngineSessions::unknownGroupIsAnsweredWithNgpOnARegisteredLink()
{
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.connectLinks({&link});
    QVERIFY(!id.isEmpty());
    QCOMPARE(fixture.exchange(link, reg2(QByteArray(256, 'x'))), regNgp);
    QCOMPARE(fixture.probe.pathIndex().value(link.endpoint()), id);
}

void TestSrtlaEngineSessions::linksDifferByAddress()
{
    EngineFixture fixture;
    const SrtlaEndpoint here = remoteLink(40000);
    const SrtlaEndpoint there{QHostAddress(u"198.51.100.7"_s), 40000};
    const QByteArray id = fixture.openGroup(here, 'a');
    fixture.probe.handleDatagram(reg2(id), here);
    fixture.probe.handleDatagram(reg2(id), there);
    QCOMPARE(fixture.probe.group(id)->paths.size(), 2);
    QCOMPARE(fixture.probe.pathIndex().size(), 2);
    QVERIFY(!(here == there));
}

void TestSrtlaEngineSessions::replyEndpointIncludesTheAddress()
{
    EngineFixture fixture;
    const SrtlaEndpoint here = remoteLink(40000);
    const SrtlaEndpoint there{QHostAddress(u"198.51.100.7"_s), 40000};
    const QByteArray id = fixture.openGroup(here, 'a');
    const SrtlaGroup *const group = fixture.probe.group(id);
    fixture.probe.handleDatagram(reg2(id), there);
    QCOMPARE(group->replyAddress, there.address);
    fixture.probe.handleDatagram(reg2(id), here);
    QCOMPARE(group->replyAddress, here.address);
    fixture.probe.handleDatagram(srtData(1), there);
    QCOMPARE(group->replyAddress, there.address);
}

void TestSrtlaEngineSessions::replyEndpointOutlivesTheLastLink()
{
    EngineFixture fixture;
    fixture.engine.setMs = 0;
    Peer gone;
    Peer late;
    const QByteArray id = fixture.connectLinks({&gone});
    const quint16 srtPort = fixture.forwardHandshake(gone);
    QVERIFY(srtPort != 0);
    fixture.engine.setMs = 8001;
    fixture.probe.group(id)->lastActivityMs = 8001; // keeps the group
    fixture.probe.cleanupSessions();
    QVERIFY(fixture.probe.group(id)->paths.isEmpty());
    // The next link becomes the reply endpoint when it joins, without an SRT packet of its own.
    QVERIFY(fixture.join(late, id));
    fixture.reply(typed(0x8003, 20), srtPort);
    QCOMPARE(late.receive(), typed(0x8003, 20));
}

QTEST_GUILESS_MAIN(TestSrtlaEngineSessions)
#include "tst_srtlaengine_sessions.moc"
