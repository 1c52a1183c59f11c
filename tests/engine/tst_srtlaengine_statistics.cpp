// SPDX-License-Identifier: GPL-2.0-or-later
// Statistics, with a simulated clock.
#include "enginefixture.h"

#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

class TestSrtlaEngineStatistics : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { fixture.reset(); }
    void rateIsMeasuredSinceTheLastPublication_data();
    void rateIsMeasuredSinceTheLastPublication();
    void twoTicksWithoutTrafficPublishNoRate();
    void groupsAndLinksAreCounted();
    void everyDatagramIsCounted();

private:
    std::unique_ptr<EngineFixture> fixture;
};

void TestSrtlaEngineStatistics::init()
{
    fixture = std::make_unique<EngineFixture>();
    fixture->engine.setMs = 0;
}

void TestSrtlaEngineStatistics::rateIsMeasuredSinceTheLastPublication_data()
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

void TestSrtlaEngineStatistics::rateIsMeasuredSinceTheLastPublication()
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

void TestSrtlaEngineStatistics::twoTicksWithoutTrafficPublishNoRate()
{
    fixture->probe.receivedBytes() = 1250000;
    fixture->engine.setMs = 1000;
    fixture->probe.publishStatistics();
    QCOMPARE(fixture->record.all.last(), u"statistics 0 0 10 0 1250000"_s); // the first rate is measured from the start
    fixture->record.all.clear();
    fixture->engine.setMs = 2000;
    fixture->probe.publishStatistics();
    fixture->engine.setMs = 3000;
    fixture->probe.publishStatistics();
    QCOMPARE(fixture->record.all, (QStringList{u"statistics 0 0 0 0 1250000"_s, u"statistics 0 0 0 0 1250000"_s}));
}

void TestSrtlaEngineStatistics::groupsAndLinksAreCounted()
{
    const QByteArray first = fixture->openGroup(remoteLink(1), 'a');
    fixture->openGroup(remoteLink(2), 'b');
    fixture->probe.handleDatagram(reg2(first), remoteLink(1));
    fixture->probe.handleDatagram(reg2(first), remoteLink(3));
    fixture->engine.setMs = 1000;
    fixture->record.all.clear();
    fixture->probe.publishStatistics();
    QCOMPARE(fixture->record.all, QStringList{u"statistics 2 2 0 0 0"_s});
}

void TestSrtlaEngineStatistics::everyDatagramIsCounted()
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

QTEST_GUILESS_MAIN(TestSrtlaEngineStatistics)
#include "tst_srtlaengine_statistics.moc"
