// SPDX-License-Identifier: GPL-2.0-or-later
#include "inflight.h"

#include <QTest>

using namespace bondsender;
using namespace std::chrono_literals;

class TestBondsenderInFlight : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void packetSentTwiceIsRemovedTwice();
    void rangesIncludeBothEnds();
    void removesEarlierPacketsAcrossTheWrap();
    void removesOldPackets();
};

void TestBondsenderInFlight::packetSentTwiceIsRemovedTwice()
{
    InFlight packets;
    packets.add(7, TimePoint{});
    packets.add(7, TimePoint{});
    QVERIFY(packets.take(7));
    QCOMPARE(packets.size(), 1U);
    QVERIFY(packets.take(7));
    QVERIFY(!packets.take(7));
}

void TestBondsenderInFlight::rangesIncludeBothEnds()
{
    InFlight packets;
    for (std::uint32_t sequence = 1; sequence <= 6; ++sequence) {
        packets.add(sequence, TimePoint{});
    }
    QCOMPARE(packets.take(SequenceRange{2, 4}), 3U);
    QVERIFY(packets.take(1));
    QVERIFY(!packets.take(4));
    QVERIFY(packets.take(5));
}

void TestBondsenderInFlight::removesEarlierPacketsAcrossTheWrap()
{
    InFlight packets;
    packets.add(0x7FFFFFFE, TimePoint{});
    packets.add(0x7FFFFFFF, TimePoint{});
    packets.add(0, TimePoint{});
    packets.add(1, TimePoint{});
    QCOMPARE(packets.takeBefore(1), 3U);
    QVERIFY(packets.take(1));
}

void TestBondsenderInFlight::removesOldPackets()
{
    InFlight packets;
    packets.add(1, TimePoint(1s));
    packets.add(2, TimePoint(2s));
    QCOMPARE(packets.takeOlderThan(TimePoint(2s)), 1U);
    QVERIFY(packets.take(2));
}

QTEST_GUILESS_MAIN(TestBondsenderInFlight)
#include "tst_bondsender_inflight.moc"
