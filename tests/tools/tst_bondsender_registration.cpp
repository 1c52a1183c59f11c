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
    void ignoresASecondGroup();
    void beginsAnewWhenTheGroupIsGone();
    void aLateAnswerAboutTheOldGroupIsNoNews();
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
    const auto outgoing = registration.due(start);
    QCOMPARE(outgoing.size(), linkCount);
    for (std::size_t link = 0; link < linkCount; ++link) {
        QVERIFY(outgoing[link].link == link && outgoing[link].datagram == makeReg2(group));
    }
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

void TestBondsenderRegistration::ignoresASecondGroup()
{
    Registration registration = joined();
    QVERIFY(registration.take(0, makeReg2(idWith(0xAA, 0xCC)), start) == Change::None);
    QVERIFY(registration.groupId() == group);
}

void TestBondsenderRegistration::beginsAnewWhenTheGroupIsGone()
{
    Registration registration = joined();
    registration.linkFellSilent(0, start);
    registration.linkFellSilent(1, start);
    QVERIFY(registration.take(0, regNgp, start) == Change::GroupGone);
    QVERIFY(registration.take(1, regNgp, start) == Change::None);
    QVERIFY(registration.state(2) == LinkState::Waiting);
    const auto outgoing = registration.due(start);
    QCOMPARE(outgoing.size(), 1U);
    QCOMPARE(outgoing[0].datagram, makeReg1(proposal));
}

void TestBondsenderRegistration::aLateAnswerAboutTheOldGroupIsNoNews()
{
    Registration registration = joined();
    registration.linkFellSilent(0, start);
    registration.linkFellSilent(1, start);
    (void)registration.due(start);
    registration.take(0, regNgp, start);
    (void)registration.due(start);
    const GroupId newGroup = idWith(0xAA, 0xCC);
    QVERIFY(registration.take(0, makeReg2(newGroup), start) == Change::GroupCreated);
    (void)registration.due(start);
    QVERIFY(registration.take(1, regNgp, start) == Change::None);
    QVERIFY(registration.groupId() == newGroup);
    QVERIFY(registration.take(1, regNgp, start) == Change::GroupGone);
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
