// SPDX-License-Identifier: GPL-2.0-or-later
#include "impairment.h"

#include <QTest>

using namespace bondsender;
using namespace std::chrono_literals;

namespace {

constexpr std::uint64_t seed = 1;
const TimePoint start = TimePoint(100s);

Bytes numbered(std::uint8_t number)
{
    return Bytes{number};
}

std::vector<int> popAll(Road &road, TimePoint now)
{
    std::vector<int> numbers;
    while (const auto datagram = road.pop(now)) {
        numbers.push_back(datagram->front());
    }
    return numbers;
}

} // namespace

class TestBondsenderImpairment : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anUnhurtRoadKeepsTheOrderAndNeedsNoTime();
    void delayIsExact();
    void jitterStaysInItsBoundsAndReorders();
    void lossTakesItsShare();
    void duplicatesArriveTwice();
    void cutRoadCarriesNothingInEitherHalf();
    void cutsCountFromTheStreamStart();
    void rateLimitSpacesAndOverflows();
};

void TestBondsenderImpairment::anUnhurtRoadKeepsTheOrderAndNeedsNoTime()
{
    Road road(Impairment{}, seed);
    for (std::uint8_t number = 0; number < 5; ++number) {
        road.push(numbered(number), start);
    }
    QCOMPARE(popAll(road, start), (std::vector<int>{0, 1, 2, 3, 4}));
    QVERIFY(!road.nextDue());
}

void TestBondsenderImpairment::delayIsExact()
{
    Impairment impairment;
    impairment.delay = 20ms;
    Road road(impairment, seed);
    road.push(numbered(1), start);
    QVERIFY(road.nextDue() == start + 20ms);
    QVERIFY(!road.pop(start + 20ms - 1us));
    QVERIFY(road.pop(start + 20ms));
}

void TestBondsenderImpairment::jitterStaysInItsBoundsAndReorders()
{
    Impairment impairment;
    impairment.delay = 10ms;
    impairment.jitter = 30ms;
    Road road(impairment, seed);
    for (std::uint8_t number = 0; number < 200; ++number) {
        road.push(numbered(number), start);
    }
    QVERIFY(road.nextDue() >= start + 10ms);
    QVERIFY(!popAll(road, start + 25ms).empty());
    std::vector<int> late = popAll(road, start + 40ms);
    QVERIFY(!std::ranges::is_sorted(late));
    QVERIFY(!road.nextDue());
}

void TestBondsenderImpairment::lossTakesItsShare()
{
    Impairment impairment;
    impairment.loss = 0.02;
    Road road(impairment, seed);
    constexpr int count = 100'000;
    for (int at = 0; at < count; ++at) {
        road.push(numbered(0), start);
    }
    QCOMPARE(popAll(road, start).size() + road.counters().lost, std::size_t(count));
    // Five standard deviations around 2000.
    QVERIFY(road.counters().lost > 1780 && road.counters().lost < 2220);
}

void TestBondsenderImpairment::duplicatesArriveTwice()
{
    Impairment impairment;
    impairment.duplicate = 1;
    Road road(impairment, seed);
    road.push(numbered(9), start);
    QCOMPARE(popAll(road, start), (std::vector<int>{9, 9}));
    QCOMPARE(road.counters().duplicated, 1U);
}

void TestBondsenderImpairment::cutRoadCarriesNothingInEitherHalf()
{
    Impairment impairment;
    impairment.delay = 10ms;
    impairment.cuts = {{1s, 2s}};
    Road road(impairment, seed);
    road.startStream(start);
    road.push(numbered(1), start + 1s - 5ms); // still under way when the link is cut
    road.push(numbered(2), start + 1s);
    road.push(numbered(3), start + 2s - 1us);
    road.push(numbered(4), start + 2s);
    QCOMPARE(popAll(road, start + 3s), (std::vector<int>{4}));
    QCOMPARE(road.counters().cut, 3U);
}

void TestBondsenderImpairment::cutsCountFromTheStreamStart()
{
    Impairment impairment;
    impairment.cuts = {{0s, std::nullopt}};
    Road road(impairment, seed);
    QVERIFY(!road.isCut(start));
    road.startStream(start);
    QVERIFY(road.isCut(start));
    QVERIFY(road.isCut(start + 24h));
}

void TestBondsenderImpairment::rateLimitSpacesAndOverflows()
{
    Impairment impairment;
    impairment.bitsPerSecond = 80'000; // 1000 bytes take 100 ms
    Road road(impairment, seed);
    for (int at = 0; at < 5; ++at) {
        road.push(Bytes(1000), start);
    }
    // A backlog of 100, 200 and 300 ms; beyond 250 ms nothing more is taken.
    QCOMPARE(road.counters().overflowed, 2U);
    QVERIFY(!road.pop(start + 99ms));
    QVERIFY(road.pop(start + 100ms));
    QVERIFY(!road.pop(start + 199ms));
    QCOMPARE(popAll(road, start + 300ms).size(), 2U);
}

QTEST_GUILESS_MAIN(TestBondsenderImpairment)
#include "tst_bondsender_impairment.moc"
