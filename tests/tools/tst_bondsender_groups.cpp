// SPDX-License-Identifier: GPL-2.0-or-later
// Replaced groups, and late, repeated or lost responses.
#include "registrationcase.h"

#include <QTest>

using namespace bondsender;
using namespace std::chrono_literals;
using Change = Registration::Change;
using LinkState = Registration::LinkState;

class TestBondsenderGroups : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aNewGroupReplacesTheOld();
    void repeatedGroupIsIgnored();
    void roundTripLongerThanTheRetryInterval();
    void overtakenResponseIsDropped();
    void replayedGroupIsDropped();
    void lateResponseAboutTheOldGroupIsIgnored();
    void lateReg3OfTheOldGroupIsIgnored();
    void lostResponseTimesOut();
};

void TestBondsenderGroups::aNewGroupReplacesTheOld()
{
    Registration registration = joined();
    QVERIFY(registration.take(0, makeReg2(otherGroup), start) == Change::GroupCreated);
    QVERIFY(registration.groupId() == otherGroup);
    for (std::size_t link = 0; link < linkCount; ++link) {
        QVERIFY(registration.state(link) == LinkState::Joining);
    }
    QVERIFY(isReg2OnEveryLink(registration.due(start), otherGroup));
    for (std::size_t link = 0; link < linkCount; ++link) {
        QVERIFY(registration.take(link, reg3, start) == Change::LinkRegistered);
    }
    registration.linkFellSilent(1, start);
    (void)registration.due(start);
    QVERIFY(registration.take(1, regNgp, start) == Change::GroupGone);
    QVERIFY(!registration.groupId()); // the old group is not tried again
}

void TestBondsenderGroups::repeatedGroupIsIgnored()
{
    Registration registration = joined();
    QVERIFY(registration.take(0, makeReg2(group), start) == Change::None);
    QVERIFY(registration.state(0) == LinkState::Registered);
    QVERIFY(registration.due(start + 1h).empty());
}

/// Round trip of 1200 ms: the repeated REG1 replaces the group of the first response.
void TestBondsenderGroups::roundTripLongerThanTheRetryInterval()
{
    Registration registration(proposal, linkCount);
    QCOMPARE(registration.due(start).size(), 1U);
    QCOMPARE(registration.due(start + 1000ms).size(), 1U);
    QVERIFY(registration.take(0, makeReg2(group), start + 1200ms) == Change::GroupCreated);
    QVERIFY(isReg2OnEveryLink(registration.due(start + 1200ms), group));
    QVERIFY(registration.take(1, makeReg2(otherGroup), start + 2200ms) == Change::GroupCreated);
    QVERIFY(isReg2OnEveryLink(registration.due(start + 2200ms), otherGroup));
    for (std::size_t link = 0; link < linkCount; ++link) {
        QVERIFY(registration.take(link, regNgp, start + 2400ms) == Change::None);
    }
    QVERIFY(registration.due(start + 2400ms).empty());
    QVERIFY(isReg2OnEveryLink(registration.due(start + 3200ms), otherGroup));
    for (std::size_t link = 0; link < linkCount; ++link) {
        QVERIFY(registration.take(link, reg3, start + 3400ms) == Change::LinkRegistered);
        QVERIFY(registration.take(link, reg3, start + 4400ms) == Change::None);
    }
    QVERIFY(registration.groupId() == otherGroup);
    QVERIFY(registration.due(start + 1h).empty());
}

void TestBondsenderGroups::overtakenResponseIsDropped()
{
    Registration registration(proposal, linkCount);
    (void)registration.due(start);
    (void)registration.due(start + Registration::retryInterval);
    const TimePoint now = start + Registration::retryInterval + 100ms;
    registration.take(1, makeReg2(group), now);
    registration.take(0, makeReg2(otherGroup), now); // the response to the first REG1
    QVERIFY(isReg2OnEveryLink(registration.due(now), otherGroup));
    QVERIFY(registration.take(2, regNgp, now) == Change::GroupGone);
    QVERIFY(isReg2OnEveryLink(registration.due(now), group));
    for (std::size_t link = 0; link < linkCount - 1; ++link) {
        QVERIFY(registration.take(link, regNgp, now) == Change::None);
    }
    for (std::size_t link = 0; link < linkCount; ++link) {
        QVERIFY(registration.take(link, reg3, now) == Change::LinkRegistered);
    }
    QVERIFY(registration.groupId() == group);
}

void TestBondsenderGroups::replayedGroupIsDropped()
{
    Registration registration = joined();
    registration.take(0, makeReg2(otherGroup), start);
    (void)registration.due(start);
    QVERIFY(registration.take(0, regNgp, start) == Change::GroupGone);
    QVERIFY(registration.groupId() == group);
    QVERIFY(isReg2OnEveryLink(registration.due(start), group));
    QVERIFY(registration.take(0, reg3, start) == Change::LinkRegistered);
}

void TestBondsenderGroups::lateResponseAboutTheOldGroupIsIgnored()
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

void TestBondsenderGroups::lateReg3OfTheOldGroupIsIgnored()
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

void TestBondsenderGroups::lostResponseTimesOut()
{
    Registration registration = joined();
    registration.linkFellSilent(1, start);
    QCOMPARE(registration.due(start).size(), 1U);
    const TimePoint later = start + Registration::responseTimeout + 1ms;
    registration.take(0, makeReg2(otherGroup), later);
    (void)registration.due(later);
    QVERIFY(registration.take(1, reg3, later) == Change::LinkRegistered);
}

QTEST_GUILESS_MAIN(TestBondsenderGroups)
#include "tst_bondsender_groups.moc"
