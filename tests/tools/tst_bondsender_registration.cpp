// SPDX-License-Identifier: GPL-2.0-or-later
#include "registrationcase.h"

#include <QTest>

using namespace bondsender;
using namespace std::chrono_literals;
using Change = Registration::Change;
using LinkState = Registration::LinkState;

class TestBondsenderRegistration : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void repeatsReg1OnTheNextLink();
    void everyLinkJoinsTheGroup();
    void linksWithReg3AreRegistered();
    void repeatsReg2UntilAnswered();
    void ignoresAGroupOfAnotherSender();
    void restartsWhenTheGroupIsGone();
    void backsOffReg1AfterShortSessions();
    void ignoresALateResponseOnARegisteredLink();
    void silentLinkJoinsAgain();
    void refusedLinkWaitsLonger();
};

void TestBondsenderRegistration::repeatsReg1OnTheNextLink()
{
    Registration registration(proposal, linkCount);
    for (std::size_t attempt = 0; attempt < 4; ++attempt) {
        const TimePoint now = start + attempt * Registration::retryInterval;
        const auto outgoing = registration.due(now);
        QCOMPARE(outgoing.size(), 1U);
        QCOMPARE(outgoing[0].link, attempt % linkCount);
        QCOMPARE(outgoing[0].datagram, makeReg1(proposal));
        QVERIFY(registration.due(now + Registration::retryInterval - 1ms).empty());
    }
}

void TestBondsenderRegistration::everyLinkJoinsTheGroup()
{
    Registration registration(proposal, linkCount);
    (void)registration.due(start);
    QVERIFY(registration.take(0, makeReg2(group), start) == Change::GroupCreated);
    QVERIFY(isReg2OnEveryLink(registration.due(start), group));
}

void TestBondsenderRegistration::linksWithReg3AreRegistered()
{
    Registration registration(proposal, linkCount);
    registration.take(0, makeReg2(group), start);
    (void)registration.due(start);
    for (std::size_t link = 0; link < linkCount; ++link) {
        QVERIFY(registration.state(link) == LinkState::Joining);
        QVERIFY(registration.take(link, reg3, start) == Change::LinkRegistered);
        QVERIFY(registration.state(link) == LinkState::Registered);
    }
    QVERIFY(registration.due(start + 1h).empty());
}

void TestBondsenderRegistration::repeatsReg2UntilAnswered()
{
    Registration registration(proposal, linkCount);
    registration.take(0, makeReg2(group), start);
    (void)registration.due(start);
    registration.take(1, reg3, start);
    QVERIFY(registration.due(start + Registration::retryInterval - 1ms).empty());
    const auto outgoing = registration.due(start + Registration::retryInterval);
    QCOMPARE(outgoing.size(), 2U);
    QCOMPARE(outgoing[0].link, 0U);
    QCOMPARE(outgoing[1].link, 2U);
}

void TestBondsenderRegistration::ignoresAGroupOfAnotherSender()
{
    Registration registration(proposal, linkCount);
    QVERIFY(registration.take(0, makeReg2(idWith(0xAB, 0xBB)), start) == Change::None);
    QVERIFY(!registration.groupId());
}

void TestBondsenderRegistration::restartsWhenTheGroupIsGone()
{
    Registration registration = joined();
    const TimePoint later = start + Registration::shortLife;
    registration.linkFellSilent(0, later);
    registration.linkFellSilent(1, later);
    QCOMPARE(registration.due(later).size(), 2U);
    QVERIFY(registration.take(0, regNgp, later) == Change::GroupGone);
    QVERIFY(registration.take(1, regNgp, later) == Change::None);
    QVERIFY(registration.state(2) == LinkState::Waiting);
    const auto outgoing = registration.due(later);
    QCOMPARE(outgoing.size(), 1U);
    QCOMPARE(outgoing[0].datagram, makeReg1(proposal));
    QCOMPARE(registration.due(later + Registration::retryInterval).size(), 1U);
}

void TestBondsenderRegistration::backsOffReg1AfterShortSessions()
{
    Registration registration(proposal, linkCount);
    TimePoint now = start;
    for (const auto interval : {1000ms, 2000ms, 4000ms, 8000ms, 8000ms}) {
        QCOMPARE(registration.due(now).size(), 1U);
        QVERIFY(registration.due(now + interval - 1ms).empty());
        now += interval;
        QCOMPARE(registration.due(now).size(), 1U);
        registration.take(0, makeReg2(group), now);
        (void)registration.due(now);
        QVERIFY(registration.take(0, regNgp, now) == Change::GroupGone);
        now += std::min(2 * interval, 8000ms); // since the last REG1
    }
    (void)registration.due(now);
    registration.take(0, makeReg2(group), now);
    now += Registration::shortLife;
    (void)registration.due(now);
    QVERIFY(registration.take(0, regNgp, now) == Change::GroupGone);
    QCOMPARE(registration.due(now).size(), 1U);
    QCOMPARE(registration.due(now + Registration::retryInterval).size(), 1U);
}

void TestBondsenderRegistration::ignoresALateResponseOnARegisteredLink()
{
    Registration registration = joined();
    QVERIFY(registration.take(0, regNgp, start) == Change::None);
    QVERIFY(registration.take(0, regErr, start) == Change::None);
    QVERIFY(registration.take(0, reg3, start) == Change::None);
    QVERIFY(registration.state(0) == LinkState::Registered);
}

void TestBondsenderRegistration::silentLinkJoinsAgain()
{
    Registration registration = joined();
    registration.linkFellSilent(1, start + 5s);
    const auto outgoing = registration.due(start + 5s);
    QCOMPARE(outgoing.size(), 1U);
    QCOMPARE(outgoing[0].link, 1U);
    QCOMPARE(outgoing[0].datagram, makeReg2(group));
    QVERIFY(registration.take(1, reg3, start + 5s) == Change::LinkRegistered);
}

void TestBondsenderRegistration::refusedLinkWaitsLonger()
{
    Registration registration = joined();
    registration.linkFellSilent(1, start);
    (void)registration.due(start);
    QVERIFY(registration.take(1, regErr, start) == Change::LinkRefused);
    QVERIFY(registration.due(start + Registration::refusedInterval - 1ms).empty());
    QCOMPARE(registration.due(start + Registration::refusedInterval).size(), 1U);
}

QTEST_GUILESS_MAIN(TestBondsenderRegistration)
#include "tst_bondsender_registration.moc"
