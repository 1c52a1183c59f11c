// SPDX-License-Identifier: GPL-2.0-or-later
// Thousands of registrations: remaining table entries, and the effect on a stream.
#include "enginefixture.h"

#include <QTest>

#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr quint16 senders = 2000;
constexpr quint16 firstPort = 20000;

/// An id proposal with a different sender's half for each number.
QByteArray proposalOf(quint16 number)
{
    QByteArray proposal = idProposal('f');
    proposal.replace(1, 2, bigEndian16(number));
    return proposal;
}

/// A link on loopback without a socket, so that the responses do not leave this machine.
SrtlaEndpoint localLink(quint16 port)
{
    return {QHostAddress(u"127.0.0.7"_s), port};
}

} // namespace

class TestSrtlaEngineFlood : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void timedOutGroupsLeaveNoEntries();
    void removalsAreSplitOverIterations();
    void registrationGrowsAtMostOneTable();
    void replacedGroupsLeaveNoEntries();
    void everySenderIsFoundAmongMany();

private:
    static void flood(const EngineFixture &fixture);
};

void TestSrtlaEngineFlood::flood(const EngineFixture &fixture)
{
    for (quint16 number = 0; number < senders; ++number) {
        const auto port = static_cast<quint16>(firstPort + number);
        fixture.probe.handleDatagram(reg1(proposalOf(number)), localLink(port));
    }
}

void TestSrtlaEngineFlood::timedOutGroupsLeaveNoEntries()
{
    EngineFixture fixture;
    fixture.engine.setMs = 0;
    Peer link;
    const QByteArray id = fixture.connectLinks({&link});
    QVERIFY(fixture.forwardHandshake(link) != 0);
    flood(fixture);
    QCOMPARE(fixture.probe.groups().size(), senders + 1);
    QCOMPARE(fixture.probe.sessionIndex().size(), senders + 1);
    QVERIFY(fixture.probe.groups().capacity() > senders);

    fixture.engine.setMs = 5000;
    fixture.send(link, srtData(1)); // the stream goes on
    QCOMPARE(fixture.listener.receive(), srtData(1));
    fixture.engine.setMs = 8001;
    fixture.probe.cleanupSessions();
    QCOMPARE(fixture.probe.groups().keys(), QList{id});
    QCOMPARE(fixture.probe.senderIndex().values(), QList{id});
    QCOMPARE(fixture.probe.sessionIndex().values(), QList{id});
    QCOMPARE(fixture.probe.pathIndex().values(), QList{id});
    // The tables' capacity is released.
    QVERIFY(fixture.probe.groups().capacity() < senders);
    QVERIFY(fixture.probe.senderIndex().capacity() < senders);
    QVERIFY(fixture.probe.sessionIndex().capacity() < senders);
    QVERIFY(fixture.forwardHandshake(link) != 0);
}

void TestSrtlaEngineFlood::removalsAreSplitOverIterations()
{
    EngineFixture fixture;
    fixture.engine.setMs = 0;
    flood(fixture);
    // One of them has a link.
    const QByteArray id = fixture.probe.groups().begin()->get()->id;
    fixture.probe.handleDatagram(reg2(id), localLink(firstPort));
    fixture.engine.setMs = 8001;
    fixture.record.logLines.clear();
    // Each removal takes a millisecond.
    connect(&fixture.engine, &SrtlaEngine::logMessage, this, [&] { ++*fixture.engine.setMs; });
    fixture.probe.cleanupSessions();
    QCOMPARE_GT(fixture.record.logLines.size(), 1);
    QCOMPARE_LT(fixture.record.logLines.size(), senders);
    QVERIFY(fixture.record.logLines.first().startsWith(u"TIMEOUT | Weg 127.0.0.7:"_s));
    // The event loop does the rest without another timer tick.
    QTRY_VERIFY_WITH_TIMEOUT(fixture.probe.groups().isEmpty(), waitMs);
    QCOMPARE(fixture.record.logLines.size(), senders + 1);
    QCOMPARE(fixture.record.logLines.filter(u"entfernt: Timeout"_s).size(), senders);
    QVERIFY(fixture.probe.pathIndex().isEmpty());
}

void TestSrtlaEngineFlood::registrationGrowsAtMostOneTable()
{
    constexpr qsizetype fewEntries = 128; // up to this size the time to grow is negligible
    const EngineFixture fixture;
    const auto capacities = [&fixture] {
        return std::array{fixture.probe.groups().capacity(), fixture.probe.senderIndex().capacity(),
                          fixture.probe.sessionIndex().capacity()};
    };
    int growths = 0;
    for (quint16 number = 0; number < senders; ++number) {
        const auto before = capacities();
        const auto port = static_cast<quint16>(firstPort + number);
        fixture.probe.handleDatagram(reg1(proposalOf(number)), localLink(port));
        const auto after = capacities();
        int grown = 0;
        for (size_t table = 0; table < before.size(); ++table) {
            grown += before[table] > fewEntries && after[table] != before[table] ? 1 : 0;
        }
        QCOMPARE_LE(grown, 1);
        growths += grown;
    }
    QCOMPARE_GT(growths, 1);
}

void TestSrtlaEngineFlood::replacedGroupsLeaveNoEntries()
{
    EngineFixture fixture;
    for (quint16 number = 0; number < senders; ++number) {
        fixture.probe.handleDatagram(reg1(proposalOf(number)), localLink(firstPort)); // new ids from one port
    }
    QCOMPARE(fixture.probe.groups().size(), 1);
    QCOMPARE(fixture.probe.senderIndex().size(), 1);
    QCOMPARE(fixture.probe.sessionIndex().size(), 1);
    QCOMPARE(fixture.probe.sessionIndex().begin().key(), proposalOf(senders - 1).first(128));
}

void TestSrtlaEngineFlood::everySenderIsFoundAmongMany()
{
    EngineFixture fixture;
    flood(fixture);
    for (const quint16 number : {quint16{0}, quint16{senders / 2}, quint16{senders - 1}}) {
        fixture.record.logLines.clear();
        const auto other = static_cast<quint16>(number + 1);
        fixture.probe.handleDatagram(reg1(proposalOf(number)), localLink(other));
        QCOMPARE(fixture.record.logLines.size(), 2);
        QVERIFY2(fixture.record.logLines.first().endsWith(u"entfernt: Neue Sitzung desselben Senders"_s),
                 qPrintable(fixture.record.logLines.first()));
        QVERIFY(fixture.record.logLines.last().startsWith(u"REG1 | "_s));
    }
    QCOMPARE(fixture.probe.groups().size(), senders);
    QCOMPARE(fixture.probe.sessionIndex().size(), senders);
}

QTEST_GUILESS_MAIN(TestSrtlaEngineFlood)
#include "tst_srtlaengine_flood.moc"
