// SPDX-License-Identifier: GPL-2.0-or-later
#include "registration.h"

#include <QTest>

using namespace bondsender;
using namespace std::chrono_literals;
using Change = Registration::Change;
using LinkState = Registration::LinkState;

namespace {

constexpr std::size_t linkCount = 3;
const TimePoint start = TimePoint(100s);
const Bytes reg3{0x92, 0x02};
const Bytes regErr{0x92, 0x10};
const Bytes regNgp{0x92, 0x11};

GroupId idWith(std::uint8_t senderByte, std::uint8_t receiverByte)
{
    GroupId id;
    id.fill(receiverByte);
    std::fill_n(id.begin(), senderHalfSize, senderByte);
    return id;
}

const GroupId proposal = idWith(0xAA, 0xAA);
const GroupId group = idWith(0xAA, 0xBB);
const GroupId otherGroup = idWith(0xAA, 0xCC);

/// A registration whose links have all joined at `start`.
Registration joined()
{
    Registration registration(proposal, linkCount);
    (void)registration.due(start);
    registration.take(0, makeReg2(group), start);
    (void)registration.due(start);
    for (std::size_t link = 0; link < linkCount; ++link) {
        registration.take(link, reg3, start);
    }
    return registration;
}

/// Whether these are a REG2 for \a id on each link.
bool asksOnEveryLink(const std::vector<Outgoing> &outgoing, const GroupId &id)
{
    bool all = outgoing.size() == linkCount;
    for (std::size_t link = 0; all && link < linkCount; ++link) {
        all = outgoing[link].link == link && outgoing[link].datagram == makeReg2(id);
    }
    return all;
}

} // namespace

class TestBondsenderRegistration : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void repeatsReg1OnTheNextLink();
    void everyLinkJoinsTheGroup();
    void answeredLinksAreRegistered();
    void repeatsReg2UntilAnswered();
    void ignoresAGroupOfAnotherSender();
    void aNewGroupReplacesTheOld();
    void ignoresItsGroupAgain();
    void aWayOfMoreThanTheRetryInterval();
    void anOvertakenAnswerIsGivenUpAgain();
    void aReplayedGroupIsGivenUpAgain();
    void beginsAnewWhenTheGroupIsGone();
    void repeatsReg1LessOftenAfterShortLives();
    void aLateAnswerAboutTheOldGroupIsNoNews();
    void aLateRegistrationInTheOldGroupDoesNotCount();
    void aLostAnswerIsNotWaitedForForever();
    void ignoresALateAnswerOnARegisteredLink();
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
    QVERIFY(asksOnEveryLink(registration.due(start), group));
}

void TestBondsenderRegistration::answeredLinksAreRegistered()
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

void TestBondsenderRegistration::aNewGroupReplacesTheOld()
{
    Registration registration = joined();
    QVERIFY(registration.take(0, makeReg2(otherGroup), start) == Change::GroupCreated);
    QVERIFY(registration.groupId() == otherGroup);
    for (std::size_t link = 0; link < linkCount; ++link) {
        QVERIFY(registration.state(link) == LinkState::Joining);
    }
    QVERIFY(asksOnEveryLink(registration.due(start), otherGroup));
    for (std::size_t link = 0; link < linkCount; ++link) {
        QVERIFY(registration.take(link, reg3, start) == Change::LinkRegistered);
    }
    registration.linkFellSilent(1, start);
    (void)registration.due(start);
    QVERIFY(registration.take(1, regNgp, start) == Change::GroupGone);
    QVERIFY(!registration.groupId()); // the old one, gone for certain, is not tried again
}

void TestBondsenderRegistration::ignoresItsGroupAgain()
{
    Registration registration = joined();
    QVERIFY(registration.take(0, makeReg2(group), start) == Change::None);
    QVERIFY(registration.state(0) == LinkState::Registered);
    QVERIFY(registration.due(start + 1h).empty());
}

/// Every link takes 600 ms there and as long back, so that the repeated REG1 replaces the group in the first answer.
void TestBondsenderRegistration::aWayOfMoreThanTheRetryInterval()
{
    Registration registration(proposal, linkCount);
    QCOMPARE(registration.due(start).size(), 1U);
    QCOMPARE(registration.due(start + 1000ms).size(), 1U);
    QVERIFY(registration.take(0, makeReg2(group), start + 1200ms) == Change::GroupCreated);
    QVERIFY(asksOnEveryLink(registration.due(start + 1200ms), group));
    QVERIFY(registration.take(1, makeReg2(otherGroup), start + 2200ms) == Change::GroupCreated);
    QVERIFY(asksOnEveryLink(registration.due(start + 2200ms), otherGroup));
    for (std::size_t link = 0; link < linkCount; ++link) {
        QVERIFY(registration.take(link, regNgp, start + 2400ms) == Change::None);
    }
    QVERIFY(registration.due(start + 2400ms).empty());
    QVERIFY(asksOnEveryLink(registration.due(start + 3200ms), otherGroup));
    for (std::size_t link = 0; link < linkCount; ++link) {
        QVERIFY(registration.take(link, reg3, start + 3400ms) == Change::LinkRegistered);
        QVERIFY(registration.take(link, reg3, start + 4400ms) == Change::None);
    }
    QVERIFY(registration.groupId() == otherGroup);
    QVERIFY(registration.due(start + 1h).empty());
}

void TestBondsenderRegistration::anOvertakenAnswerIsGivenUpAgain()
{
    Registration registration(proposal, linkCount);
    (void)registration.due(start);
    (void)registration.due(start + Registration::retryInterval);
    const TimePoint now = start + Registration::retryInterval + 100ms;
    registration.take(1, makeReg2(group), now);
    registration.take(0, makeReg2(otherGroup), now); // the answer to the first REG1
    QVERIFY(asksOnEveryLink(registration.due(now), otherGroup));
    QVERIFY(registration.take(2, regNgp, now) == Change::GroupGone);
    QVERIFY(asksOnEveryLink(registration.due(now), group));
    for (std::size_t link = 0; link < linkCount - 1; ++link) {
        QVERIFY(registration.take(link, regNgp, now) == Change::None);
    }
    for (std::size_t link = 0; link < linkCount; ++link) {
        QVERIFY(registration.take(link, reg3, now) == Change::LinkRegistered);
    }
    QVERIFY(registration.groupId() == group);
}

void TestBondsenderRegistration::aReplayedGroupIsGivenUpAgain()
{
    Registration registration = joined();
    registration.take(0, makeReg2(otherGroup), start);
    (void)registration.due(start);
    QVERIFY(registration.take(0, regNgp, start) == Change::GroupGone);
    QVERIFY(registration.groupId() == group);
    QVERIFY(asksOnEveryLink(registration.due(start), group));
    QVERIFY(registration.take(0, reg3, start) == Change::LinkRegistered);
}

void TestBondsenderRegistration::beginsAnewWhenTheGroupIsGone()
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

void TestBondsenderRegistration::repeatsReg1LessOftenAfterShortLives()
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
        now += std::min(2 * interval, 8000ms); // counted from the last REG1
    }
    (void)registration.due(now);
    registration.take(0, makeReg2(group), now);
    now += Registration::shortLife;
    (void)registration.due(now);
    QVERIFY(registration.take(0, regNgp, now) == Change::GroupGone);
    QCOMPARE(registration.due(now).size(), 1U);
    QCOMPARE(registration.due(now + Registration::retryInterval).size(), 1U);
}

void TestBondsenderRegistration::aLateAnswerAboutTheOldGroupIsNoNews()
{
    Registration registration = joined();
    registration.linkFellSilent(0, start);
    registration.linkFellSilent(1, start);
    (void)registration.due(start);
    registration.take(0, regNgp, start);
    (void)registration.due(start);
    QVERIFY(registration.take(0, makeReg2(otherGroup), start) == Change::GroupCreated);
    (void)registration.due(start);
    QVERIFY(registration.take(1, regNgp, start) == Change::None);
    QVERIFY(registration.groupId() == otherGroup);
    QVERIFY(registration.take(1, regNgp, start) == Change::GroupGone);
}

void TestBondsenderRegistration::aLateRegistrationInTheOldGroupDoesNotCount()
{
    Registration registration = joined();
    registration.linkFellSilent(1, start);
    (void)registration.due(start);
    registration.take(0, makeReg2(otherGroup), start);
    (void)registration.due(start);
    QVERIFY(registration.take(1, reg3, start) == Change::None);
    QVERIFY(registration.state(1) == LinkState::Joining);
    QVERIFY(registration.take(1, reg3, start) == Change::LinkRegistered);
}

void TestBondsenderRegistration::aLostAnswerIsNotWaitedForForever()
{
    Registration registration = joined();
    registration.linkFellSilent(1, start);
    QCOMPARE(registration.due(start).size(), 1U);
    const TimePoint later = start + Registration::longestAnswer + 1ms;
    registration.take(0, makeReg2(otherGroup), later);
    (void)registration.due(later);
    QVERIFY(registration.take(1, reg3, later) == Change::LinkRegistered);
}

void TestBondsenderRegistration::ignoresALateAnswerOnARegisteredLink()
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
