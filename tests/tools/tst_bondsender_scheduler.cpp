// SPDX-License-Identifier: GPL-2.0-or-later
#include "scheduler.h"

#include <QTest>

#include <vector>

using namespace bondsender;

class TestBondsenderScheduler : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingWithoutARegisteredLink();
    void selectsTheLeastLoadedLink();
    void lossesCountAsLoad();
    void equalLinksAlternate();
    void silentLinksAreLast();
};

void TestBondsenderScheduler::nothingWithoutARegisteredLink()
{
    QVERIFY(!chooseLink({}, 0));
    QVERIFY(!chooseLink(std::vector<LinkLoad>(2), 0));
}

void TestBondsenderScheduler::selectsTheLeastLoadedLink()
{
    const std::vector<LinkLoad> links{{true, false, 12, 0}, {true, false, 3, 0}, {false, false, 0, 0}};
    QCOMPARE(chooseLink(links, 0), std::optional<std::size_t>(1));
    QCOMPARE(chooseLink(links, 1), std::optional<std::size_t>(1));
}

void TestBondsenderScheduler::lossesCountAsLoad()
{
    const std::vector<LinkLoad> links{{true, false, 5, 0}, {true, false, 3, 2.5}};
    QCOMPARE(chooseLink(links, 0), std::optional<std::size_t>(0));
}

void TestBondsenderScheduler::equalLinksAlternate()
{
    const std::vector<LinkLoad> links(3, {true, false, 4, 0});
    QCOMPARE(chooseLink(links, 0), std::optional<std::size_t>(1));
    QCOMPARE(chooseLink(links, 1), std::optional<std::size_t>(2));
    QCOMPARE(chooseLink(links, 2), std::optional<std::size_t>(0));
}

void TestBondsenderScheduler::silentLinksAreLast()
{
    const std::vector<LinkLoad> links{{true, true, 0, 0}, {true, false, 90, 30}};
    QCOMPARE(chooseLink(links, 0), std::optional<std::size_t>(1));
    const std::vector<LinkLoad> allQuiet{{true, true, 5, 0}, {true, true, 2, 0}};
    QCOMPARE(chooseLink(allQuiet, 1), std::optional<std::size_t>(1));
}

QTEST_GUILESS_MAIN(TestBondsenderScheduler)
#include "tst_bondsender_scheduler.moc"
