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

std::vector<int> popAll(ImpairedPath &path, TimePoint now)
{
    std::vector<int> numbers;
    while (const auto datagram = path.pop(now)) {
        numbers.push_back(datagram->front());
    }
    return numbers;
}

} // namespace

class TestBondsenderImpairment : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void unimpairedPathKeepsOrderWithoutDelay();
    void delayIsExact();
    void jitterStaysInItsBoundsAndReorders();
    void lossMatchesItsRate();
    void duplicatesArriveTwice();
    void cutPathDropsPacketsBeforeAndAfter();
    void cutsCountFromTheStreamStart();
    void rateLimitSpacesAndOverflows();
};

void TestBondsenderImpairment::unimpairedPathKeepsOrderWithoutDelay()
{
    ImpairedPath path(Impairment{}, seed);
    for (std::uint8_t number = 0; number < 5; ++number) {
        path.push(numbered(number), start);
    }
    QCOMPARE(popAll(path, start), (std::vector<int>{0, 1, 2, 3, 4}));
    QVERIFY(!path.nextDue());
}

void TestBondsenderImpairment::delayIsExact()
{
    Impairment impairment;
    impairment.delay = 20ms;
    ImpairedPath path(impairment, seed);
    path.push(numbered(1), start);
    QVERIFY(path.nextDue() == start + 20ms);
    QVERIFY(!path.pop(start + 20ms - 1us));
    QVERIFY(path.pop(start + 20ms));
}

void TestBondsenderImpairment::jitterStaysInItsBoundsAndReorders()
{
    Impairment impairment;
    impairment.delay = 10ms;
    impairment.jitter = 30ms;
    ImpairedPath path(impairment, seed);
    for (std::uint8_t number = 0; number < 200; ++number) {
        path.push(numbered(number), start);
    }
    QVERIFY(path.nextDue() >= start + 10ms);
    QVERIFY(!popAll(path, start + 25ms).empty());
    std::vector<int> late = popAll(path, start + 40ms);
    QVERIFY(!std::ranges::is_sorted(late));
    QVERIFY(!path.nextDue());
}

void TestBondsenderImpairment::lossMatchesItsRate()
{
    Impairment impairment;
    impairment.loss = 0.02;
    ImpairedPath path(impairment, seed);
    constexpr int count = 100'000;
    for (int at = 0; at < count; ++at) {
        path.push(numbered(0), start);
    }
    QCOMPARE(popAll(path, start).size() + path.counters().lost, std::size_t(count));
    // Five standard deviations around 2000.
    QVERIFY(path.counters().lost > 1780 && path.counters().lost < 2220);
}

void TestBondsenderImpairment::duplicatesArriveTwice()
{
    Impairment impairment;
    impairment.duplicate = 1;
    ImpairedPath path(impairment, seed);
    path.push(numbered(9), start);
    QCOMPARE(popAll(path, start), (std::vector<int>{9, 9}));
    QCOMPARE(path.counters().duplicated, 1U);
}

void TestBondsenderImpairment::cutPathDropsPacketsBeforeAndAfter()
{
    Impairment impairment;
    impairment.delay = 10ms;
    impairment.cuts = {{1s, 2s}};
    ImpairedPath path(impairment, seed);
    path.startStream(start);
    path.push(numbered(1), start + 1s - 5ms); // in transit when the link is cut
    path.push(numbered(2), start + 1s);
    path.push(numbered(3), start + 2s - 1us);
    path.push(numbered(4), start + 2s);
    QCOMPARE(popAll(path, start + 3s), (std::vector<int>{4}));
    QCOMPARE(path.counters().cut, 3U);
}

void TestBondsenderImpairment::cutsCountFromTheStreamStart()
{
    Impairment impairment;
    impairment.cuts = {{0s, std::nullopt}};
    ImpairedPath path(impairment, seed);
    QVERIFY(!path.isCut(start));
    path.startStream(start);
    QVERIFY(path.isCut(start));
    QVERIFY(path.isCut(start + 24h));
}

void TestBondsenderImpairment::rateLimitSpacesAndOverflows()
{
    Impairment impairment;
    impairment.bitsPerSecond = 80'000; // 1000 bytes take 100 ms
    ImpairedPath path(impairment, seed);
    for (int at = 0; at < 5; ++at) {
        path.push(Bytes(1000), start);
    }
    // A queue of 100, 200 and 300 ms; packets beyond 250 ms are dropped.
    QCOMPARE(path.counters().overflowed, 2U);
    QVERIFY(!path.pop(start + 99ms));
    QVERIFY(path.pop(start + 100ms));
    QVERIFY(!path.pop(start + 199ms));
    QCOMPARE(popAll(path, start + 300ms).size(), 2U);
}

QTEST_GUILESS_MAIN(TestBondsenderImpairment)
#include "tst_bondsender_impairment.moc"
