// SPDX-License-Identifier: GPL-2.0-or-later
// Registration of groups and links.
#include "enginefixture.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestSrtlaEngineRegistrations : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void reg1OpensAGroupWithoutLinks();
    void reg1FromARegisteredLinkOpensASession();
    void registrationsOfWrongSizeAreNotAnswered_data();
    void registrationsOfWrongSizeAreNotAnswered();
    void registrationsOfWrongSizeFromALinkAreForwarded_data();
    void registrationsOfWrongSizeFromALinkAreForwarded();
    void aSecondReg1FromTheSameEndpointReplacesTheGroup_data();
    void aSecondReg1FromTheSameEndpointReplacesTheGroup();
    void reg1OfAKnownSenderFromAnotherEndpointReplacesItsGroup();
    void reg2RegistersALink();
    void repeatedReg2IsAnsweredAndNotLogged();
    void reg2WithUnknownGroupIsAnsweredWithNgp();
    void reg2FromALinkOfAnotherGroupIsAnsweredWithErr();
};

void TestSrtlaEngineRegistrations::reg1OpensAGroupWithoutLinks()
{
    EngineFixture fixture;
    fixture.engine.setMs = 4711;
    Peer sender;
    const QByteArray id = fixture.openGroup(sender, '?');
    QCOMPARE(id.size(), 256);
    QCOMPARE(id.first(128), idProposal('?').first(128));

    const SrtlaGroup *const group = fixture.probe.group(id);
    QVERIFY(group);
    QCOMPARE(group->id, id);
    QCOMPARE(group->senderId, id.first(128));
    QCOMPARE(group->registeredAddress, sender.endpoint().address);
    QCOMPARE(group->registeredPort, sender.endpoint().port);
    QCOMPARE(group->replyAddress, sender.endpoint().address);
    QCOMPARE(group->replyPort, sender.endpoint().port);
    QVERIFY(!group->hasReplyEndpoint);
    QCOMPARE(group->createdMs, 4711);
    QCOMPARE(group->lastActivityMs, 4711);
    QVERIFY(group->paths.isEmpty());
    QVERIFY(!group->srtSocket);
    QCOMPARE(fixture.probe.senderIndex().value(sender.endpoint()), id);
    QVERIFY(fixture.probe.pathIndex().isEmpty());
    QCOMPARE(fixture.record.all,
             QStringList{u"log REG1 | Neue Gruppe 3f4041424344 von 127.0.0.1:%1"_s.arg(sender.endpoint().port)});
}

void TestSrtlaEngineRegistrations::reg1FromARegisteredLinkOpensASession()
{
    EngineFixture fixture;
    Peer owner;
    Peer link;
    const QByteArray id = fixture.openGroup(owner, 'a');
    QVERIFY(fixture.join(link, id));
    const QByteArray other = fixture.openGroup(link, 'b');
    QCOMPARE(other.size(), 256);
    QVERIFY(fixture.probe.group(id));
    QVERIFY(fixture.probe.group(other));
    // The endpoint stays a link of its group.
    QCOMPARE(fixture.probe.pathIndex().value(link.endpoint()), id);
}

void TestSrtlaEngineRegistrations::registrationsOfWrongSizeAreNotAnswered_data()
{
    QTest::addColumn<QByteArray>("datagram");
    for (const quint16 type : {quint16{0x9200}, quint16{0x9201}}) {
        for (const int size : {2, 16, 257, 259}) {
            QTest::addRow("%04x, %d bytes", type, size) << typed(type, size);
        }
    }
}

void TestSrtlaEngineRegistrations::registrationsOfWrongSizeAreNotAnswered()
{
    QFETCH(QByteArray, datagram);
    EngineFixture fixture;
    Peer unregistered;
    fixture.send(unregistered, datagram);
    QVERIFY(fixture.receivesNothing(unregistered));
    QVERIFY(fixture.probe.groups().isEmpty());
    QCOMPARE(fixture.record.all, QStringList());
}

void TestSrtlaEngineRegistrations::registrationsOfWrongSizeFromALinkAreForwarded_data()
{
    QTest::addColumn<QByteArray>("datagram");
    QTest::newRow("REG1, 257 bytes") << typed(0x9200, 257);
    QTest::newRow("REG1, 259 bytes") << typed(0x9200, 259);
    QTest::newRow("REG2, 257 bytes") << typed(0x9201, 257);
    QTest::newRow("REG2, 16 bytes") << typed(0x9201, 16);
}

void TestSrtlaEngineRegistrations::registrationsOfWrongSizeFromALinkAreForwarded()
{
    QFETCH(QByteArray, datagram);
    EngineFixture fixture;
    Peer link;
    QVERIFY(fixture.join(link, fixture.openGroup(link)));
    fixture.send(link, datagram);
    QCOMPARE(fixture.listener.receive(), datagram);
    QVERIFY(fixture.receivesNothing(link));
}

void TestSrtlaEngineRegistrations::aSecondReg1FromTheSameEndpointReplacesTheGroup_data()
{
    QTest::addColumn<char>("seed");
    QTest::addColumn<QString>("reason");
    QTest::newRow("same 128 leading bytes") << 'a' << u"Neue Sitzung desselben Senders"_s;
    QTest::newRow("different leading bytes") << 'b' << u"Neu-Registrierung"_s;
}

void TestSrtlaEngineRegistrations::aSecondReg1FromTheSameEndpointReplacesTheGroup()
{
    QFETCH(char, seed);
    QFETCH(QString, reason);
    EngineFixture fixture;
    Peer sender;
    const QByteArray first = fixture.openGroup(sender, 'a');
    QVERIFY(fixture.join(sender, first));
    fixture.record.logLines.clear();

    // The ignored half of the proposal may differ freely.
    const QByteArray proposal = idProposal(seed).first(128) + QByteArray(128, '\x55');
    const QByteArray answer = fixture.exchange(sender, reg1(proposal));
    QCOMPARE(answer.size(), 258);
    const QByteArray second = answer.sliced(2);
    QVERIFY(second != first);
    QVERIFY(!fixture.probe.group(first));
    QVERIFY(fixture.probe.group(second));
    QVERIFY(fixture.probe.pathIndex().isEmpty());
    QCOMPARE(fixture.probe.senderIndex().value(sender.endpoint()), second);
    QCOMPARE(fixture.record.logLines.size(), 2);
    QCOMPARE(fixture.record.logLines.first(), u"GRUPPE | 616263646566 entfernt: "_s + reason);
    QVERIFY(fixture.record.logLines.last().startsWith(u"REG1 | Neue Gruppe "));
}

void TestSrtlaEngineRegistrations::reg1OfAKnownSenderFromAnotherEndpointReplacesItsGroup()
{
    EngineFixture fixture;
    Peer before;
    Peer now;
    Peer bystander;
    const QByteArray first = fixture.openGroup(before, 'a');
    const QByteArray untouched = fixture.openGroup(bystander, 'b');
    fixture.record.logLines.clear();
    const QByteArray second = fixture.openGroup(now, 'a');
    QVERIFY(!second.isEmpty());
    QVERIFY(!fixture.probe.group(first));
    QVERIFY(fixture.probe.group(untouched));
    QVERIFY(!fixture.probe.senderIndex().contains(before.endpoint()));
    QCOMPARE(fixture.record.logLines.first(), u"GRUPPE | 616263646566 entfernt: Neue Sitzung desselben Senders"_s);
    QCOMPARE(fixture.record.logLines.size(), 2);
}

void TestSrtlaEngineRegistrations::reg2RegistersALink()
{
    EngineFixture fixture;
    fixture.engine.setMs = 100;
    Peer owner;
    Peer link;
    const QByteArray id = fixture.openGroup(owner);
    fixture.record.logLines.clear();
    fixture.engine.setMs = 250;
    QVERIFY(fixture.join(link, id));

    const SrtlaPath *const path = fixture.probe.path(id, link.endpoint());
    QVERIFY(path);
    QCOMPARE(path->address, link.endpoint().address);
    QCOMPARE(path->port, link.endpoint().port);
    QCOMPARE(path->lastActivityMs, 250);
    QVERIFY(path->pendingAcks.isEmpty());
    QCOMPARE(path->packets, 0U);
    QCOMPARE(path->bytes, 0U);
    const SrtlaGroup *const group = fixture.probe.group(id);
    QCOMPARE(group->createdMs, 100);
    QCOMPARE(group->lastActivityMs, 250);
    QCOMPARE(group->replyPort, link.endpoint().port);
    QVERIFY(!group->hasReplyEndpoint);
    QCOMPARE(fixture.probe.pathIndex().value(link.endpoint()), id);
    QCOMPARE(fixture.record.logLines,
             QStringList{u"REG3 | Weg 127.0.0.1:%1 verbunden, Gruppe 616263646566"_s.arg(link.endpoint().port)});
}

void TestSrtlaEngineRegistrations::repeatedReg2IsAnsweredAndNotLogged()
{
    EngineFixture fixture;
    fixture.engine.setMs = 100;
    Peer first;
    Peer second;
    const QByteArray id = fixture.connectLinks({&first, &second});
    QVERIFY(!id.isEmpty());
    fixture.send(first, srtData(1));
    QCOMPARE(fixture.listener.receive(), srtData(1));
    fixture.record.all.clear();

    fixture.engine.setMs = 900;
    QVERIFY(fixture.join(second, id));
    QCOMPARE(fixture.record.all, QStringList());
    const SrtlaGroup *const group = fixture.probe.group(id);
    QCOMPARE(group->lastActivityMs, 900);
    QCOMPARE(group->replyPort, second.endpoint().port);
    QCOMPARE(group->paths.size(), 2);
    QCOMPARE(fixture.probe.path(id, second.endpoint())->lastActivityMs, 100);

    QVERIFY(fixture.join(first, id));
    QCOMPARE(fixture.probe.path(id, first.endpoint())->packets, 1U);
    QCOMPARE(fixture.probe.path(id, first.endpoint())->pendingAcks, QList<quint32>{1});
}

void TestSrtlaEngineRegistrations::reg2WithUnknownGroupIsAnsweredWithNgp()
{
    EngineFixture fixture;
    Peer link;
    QByteArray id = fixture.openGroup(link);
    id[255] = static_cast<char>(id.at(255) ^ 1); // differs in the last byte only
    QCOMPARE(fixture.exchange(link, reg2(id)), regNgp);
    QVERIFY(fixture.probe.pathIndex().isEmpty());
    QCOMPARE(fixture.record.logLines.size(), 1);
}

void TestSrtlaEngineRegistrations::reg2FromALinkOfAnotherGroupIsAnsweredWithErr()
{
    EngineFixture fixture;
    Peer first;
    Peer second;
    const QByteArray own = fixture.openGroup(first, 'a');
    const QByteArray other = fixture.openGroup(second, 'b');
    QVERIFY(fixture.join(first, own));
    fixture.record.all.clear();
    fixture.engine.setMs = 5000;
    QCOMPARE(fixture.exchange(first, reg2(other)), regErr);
    QCOMPARE(fixture.probe.pathIndex().value(first.endpoint()), own);
    QVERIFY(fixture.probe.group(other)->paths.isEmpty());
    QVERIFY(fixture.probe.group(other)->lastActivityMs != 5000);
    QCOMPARE(fixture.record.all, QStringList());
}

QTEST_GUILESS_MAIN(TestSrtlaEngineRegistrations)
#include "tst_srtlaengine_registrations.moc"
