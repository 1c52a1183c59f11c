// SPDX-License-Identifier: GPL-2.0-or-later
// Groups that replace each other, and links that go from one to the next.
#include "enginefixture.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestSrtlaEngineSessions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void oneReg1RemovesTheSendersGroupThenTheEndpoints();
    void aLinkWhoseGroupIsGoneJoinsAnother_data();
    void aLinkWhoseGroupIsGoneJoinsAnother();
    void theCleanUpLeavesAloneWhatASlotRemoved();
    void anUnknownGroupIsUnknownToARegisteredLinkToo();
    void linksOfOnePortAndTwoAddressesAreTwo();
    void repliesFollowTheAddressToo();
    void theReplyEndpointOutlivesTheLastLink();
};

void TestSrtlaEngineSessions::oneReg1RemovesTheSendersGroupThenTheEndpoints()
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

void TestSrtlaEngineSessions::aLinkWhoseGroupIsGoneJoinsAnother_data()
{
    QTest::addColumn<int>("end");
    QTest::newRow("its sender begins anew") << 0;
    QTest::newRow("its endpoint registers anew") << 1;
    QTest::newRow("it times out") << 2;
}

void TestSrtlaEngineSessions::aLinkWhoseGroupIsGoneJoinsAnother()
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
    QVERIFY(fixture.carryHandshake(link) != 0);
    QCOMPARE(fixture.probe.path(second, link.endpoint())->packets, 1U);
}

void TestSrtlaEngineSessions::theCleanUpLeavesAloneWhatASlotRemoved()
{
    EngineFixture fixture;
    fixture.engine.setMs = 0;
    const QByteArray first = fixture.openGroup(remoteLink(1), 'a');
    const QByteArray second = fixture.openGroup(remoteLink(2), 'b');
    // Two links each: one of them is told, and there is one left in its group as well as the other group's.
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
            // A new group, and a link of one that is gone in it: nothing of either is to be taken away.
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

void TestSrtlaEngineSessions::anUnknownGroupIsUnknownToARegisteredLinkToo()
{
    EngineFixture fixture;
    Peer link;
    const QByteArray id = fixture.connectLinks({&link});
    QVERIFY(!id.isEmpty());
    QCOMPARE(fixture.ask(link, reg2(QByteArray(256, 'x'))), regNgp);
    QCOMPARE(fixture.probe.pathIndex().value(link.endpoint()), id);
}

void TestSrtlaEngineSessions::linksOfOnePortAndTwoAddressesAreTwo()
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

void TestSrtlaEngineSessions::repliesFollowTheAddressToo()
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

void TestSrtlaEngineSessions::theReplyEndpointOutlivesTheLastLink()
{
    EngineFixture fixture;
    fixture.engine.setMs = 0;
    Peer gone;
    Peer late;
    const QByteArray id = fixture.connectLinks({&gone});
    const quint16 srtPort = fixture.carryHandshake(gone);
    QVERIFY(srtPort != 0);
    fixture.engine.setMs = 8001;
    fixture.probe.group(id)->lastActivityMs = 8001; // keeps the group
    fixture.probe.cleanupSessions();
    QVERIFY(fixture.probe.group(id)->paths.isEmpty());
    // The next link is the new way back as soon as it has joined: packets of the group have been here before.
    QVERIFY(fixture.join(late, id));
    fixture.reply(typed(0x8003, 20), srtPort);
    QCOMPARE(late.receive(), typed(0x8003, 20));
}

QTEST_GUILESS_MAIN(TestSrtlaEngineSessions)
#include "tst_srtlaengine_sessions.moc"
