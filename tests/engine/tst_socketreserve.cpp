// SPDX-License-Identifier: GPL-2.0-or-later
// The reserve of file descriptors for the host process.
#include "socketreserve.h"

#include "enginefixture.h"

#include <QScopeGuard>
#include <QSet>
#include <QTest>

#include <algorithm>
#include <sys/resource.h>

using namespace Qt::StringLiterals;

class TestSocketReserve : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void roomExcludesTheReserve_data();
    void roomExcludesTheReserve();
    void descriptorsAreCounted();
    void groupsWithoutDescriptorsDropPackets();
};

void TestSocketReserve::roomExcludesTheReserve_data()
{
    QTest::addColumn<qint64>("limit");
    QTest::addColumn<qint64>("open");
    QTest::addColumn<qint64>("room");
    QTest::newRow("a low limit keeps a quarter") << qint64{200} << qint64{30} << qint64{120};
    QTest::newRow("the usual limit") << qint64{1024} << qint64{100} << qint64{668};
    QTest::newRow("a high limit keeps 256") << qint64{524288} << qint64{1000} << qint64{523032};
    QTest::newRow("no room") << qint64{1024} << qint64{768} << qint64{0};
    QTest::newRow("the reserve is in use") << qint64{1024} << qint64{1000} << qint64{-232};
}

void TestSocketReserve::roomExcludesTheReserve()
{
    QFETCH(qint64, limit);
    QFETCH(qint64, open);
    QTEST(SocketReserve::room({.limit = limit, .open = open}), "room");
}

void TestSocketReserve::descriptorsAreCounted()
{
    const Peer first; // also opens the descriptors of the thread's event loop
    const std::optional<DescriptorUse> before = descriptorUse();
    QVERIFY(before);
    QCOMPARE_GT(before->open, 2); // the standard streams
    const Peer one;
    const Peer two;
    const std::optional<DescriptorUse> after = descriptorUse();
    QVERIFY(after);
    QCOMPARE(after->open, before->open + 2);
    QCOMPARE(after->limit, before->limit);
}

void TestSocketReserve::groupsWithoutDescriptorsDropPackets()
{
    constexpr int groups = 60;
    constexpr qint64 room = 20;
    EngineFixture fixture;
    fixture.engine.setMs = 0;
    rlimit former{};
    QCOMPARE(getrlimit(RLIMIT_NOFILE, &former), 0);
    const auto restore = qScopeGuard([&former] { setrlimit(RLIMIT_NOFILE, &former); });
    const qint64 open = descriptorUse()->open;
    rlimit low = former;
    low.rlim_cur = static_cast<rlim_t>((open + room) * 4 / 3); // a quarter of it is reserved
    QCOMPARE(setrlimit(RLIMIT_NOFILE, &low), 0);
    QList<QByteArray> ids;
    for (int i = 0; i < groups; ++i) {
        const SrtlaEndpoint link = {QHostAddress(u"127.0.0.7"_s), static_cast<quint16>(20000 + i)};
        ids.append(fixture.openGroup(link, static_cast<char>(i)));
        fixture.probe.handleDatagram(reg2(ids.last()), link);
        fixture.probe.handleDatagram(srtData(1), link);
        fixture.probe.handleDatagram(srtData(2), link);
    }
    const auto hasSocket = [&](const QByteArray &id) { return fixture.probe.group(id)->srtSocket != nullptr; };
    // Approximately the available number: threads of libraries may open and close descriptors.
    const qint64 granted = std::ranges::count_if(ids, hasSocket);
    QCOMPARE_GT(granted, room / 2);
    QCOMPARE_LE(granted, room + 1);
    // One log line for each group without a socket, none for its second packet.
    const QStringList refused = fixture.record.logLines.filter(u": zu viele offene Dateien, Pakete werden verworfen"_s);
    QCOMPARE(refused.size(), groups - granted);
    QCOMPARE(QSet<QString>(refused.begin(), refused.end()).size(), refused.size());
    QVERIFY(refused.first().startsWith(u"SRT | Gruppe "_s));

    // A removed group frees a descriptor, which is available after the next count.
    fixture.probe.removeGroup(ids.first(), u"test"_s);
    fixture.engine.setMs = 100;
    const SrtlaEndpoint last = {QHostAddress(u"127.0.0.7"_s), 20000 + groups - 1};
    fixture.probe.handleDatagram(srtData(3), last);
    QVERIFY(hasSocket(ids.last()));
    QByteArray arrived;
    do {
        arrived = fixture.listener.receive();
        QVERIFY(!arrived.isNull());
    } while (arrived != srtData(3));
}

QTEST_GUILESS_MAIN(TestSocketReserve)
#include "tst_socketreserve.moc"
