// SPDX-License-Identifier: GPL-2.0-or-later
#include "impairment.h"
#include "registrationcase.h"

#include <QTest>

#include <set>

using namespace bondsender;
using namespace std::chrono_literals;
using LinkState = Registration::LinkState;
using Impairments = std::vector<Impairment>;

namespace {

constexpr auto stepInterval = 10ms;
constexpr auto keepaliveInterval = 1000ms;
constexpr auto silentAfter = 4000ms;
constexpr std::uint64_t keepaliveStamp = 1;
constexpr auto observationTime = 60s;

/// A receiver's state of one sender: the group of the last REG1 and its links.
class Receiver
{
public:
    /// The response to a datagram received on the link \a index; empty without one.
    Bytes take(std::size_t index, const Bytes &datagram)
    {
        if (datagram == makeReg1(proposal)) {
            ++made;
            members.clear();
            return makeReg2(currentGroup());
        }
        if (datagram == makeKeepalive(keepaliveStamp)) {
            return members.contains(index) ? datagram : Bytes();
        }
        if (made == 0 || datagram != makeReg2(currentGroup())) {
            return regNgp;
        }
        members.insert(index);
        return reg3;
    }

    [[nodiscard]] GroupId currentGroup() const
    {
        GroupId group = proposal;
        group[senderHalfSize] = static_cast<std::uint8_t>(made); // the first byte of the receiver's half
        return group;
    }
    [[nodiscard]] bool hasMember(std::size_t index) const { return members.contains(index); }
    [[nodiscard]] int groupsMade() const { return made; }

private:
    int made = 0;
    std::set<std::size_t> members;
};

/// A sender's registration and a receiver, connected by an impaired path in each direction per link, with a simulated
/// clock.
class Simulation
{
public:
    Simulation(const Impairments &impairments, std::uint64_t seed) : registration(proposal, impairments.size())
    {
        for (const Impairment &impairment : impairments) {
            links.push_back({ImpairedPath(impairment, seed++), ImpairedPath(impairment, seed++), start});
        }
    }

    void step()
    {
        now += stepInterval;
        for (Outgoing &outgoing : registration.due(now)) {
            links[outgoing.link].up.push(std::move(outgoing.datagram), now);
        }
        for (std::size_t index = 0; index < links.size(); ++index) {
            keepAlive(index);
            carry(index);
        }
    }

    /// Whether every link is registered in the same group on both sides.
    [[nodiscard]] bool settled() const
    {
        for (std::size_t index = 0; index < links.size(); ++index) {
            if (registration.state(index) != LinkState::Registered || !receiver.hasMember(index)) {
                return false;
            }
        }
        return registration.groupId() == receiver.currentGroup();
    }

    [[nodiscard]] int groupsMade() const { return receiver.groupsMade(); }
    [[nodiscard]] Clock::duration runningFor() const { return now - start; }

private:
    struct Link
    {
        ImpairedPath up;
        ImpairedPath down;
        TimePoint heard;
    };

    void keepAlive(std::size_t index)
    {
        if (registration.state(index) != LinkState::Registered) {
            return;
        }
        if ((now - start) % keepaliveInterval == 0ms) {
            links[index].up.push(makeKeepalive(keepaliveStamp), now);
        }
        if (now - links[index].heard > silentAfter) {
            registration.linkFellSilent(index, now);
        }
    }

    void carry(std::size_t index)
    {
        Link &link = links[index];
        while (const auto datagram = link.up.pop(now)) {
            if (Bytes answer = receiver.take(index, *datagram); !answer.empty()) {
                link.down.push(std::move(answer), now);
            }
        }
        while (const auto datagram = link.down.pop(now)) {
            link.heard = now;
            registration.take(index, *datagram, now);
        }
    }

    TimePoint now = start;
    Registration registration;
    Receiver receiver;
    std::vector<Link> links;
};

} // namespace

/// Sender and receiver reach the same state with any impairment of the links.
class TestBondsenderSlowLinks : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyLinkGetsRegistered_data();
    void everyLinkGetsRegistered();
};

void TestBondsenderSlowLinks::everyLinkGetsRegistered_data()
{
    QTest::addColumn<Impairments>("links");
    QTest::addColumn<std::chrono::seconds>("within");
    const auto slow = [](std::chrono::milliseconds delay) {
        Impairment impairment;
        impairment.delay = delay;
        return impairment;
    };
    Impairment uneven = slow(300ms);
    uneven.jitter = 1000ms;
    Impairment lossy = slow(20ms);
    lossy.loss = 0.4;
    Impairment twice = slow(50ms);
    twice.duplicate = 0.5;

    QTest::newRow("fast links") << Impairments(3, slow(20ms)) << 1s;
    QTest::newRow("responses arrive after the repetition") << Impairments(3, slow(600ms)) << 4s;
    QTest::newRow("responses arrive after three repetitions") << Impairments(3, slow(1700ms)) << 20s;
    QTest::newRow("second response overtakes the first") << Impairments{slow(900ms), slow(50ms)} << 4s;
    QTest::newRow("repetitions arrive long after the responses") << Impairments{slow(510ms), slow(2400ms)} << 60s;
    QTest::newRow("reordering") << Impairments(3, uneven) << 60s;
    QTest::newRow("losses") << Impairments(3, lossy) << 60s;
    QTest::newRow("duplicates") << Impairments(3, twice) << 60s;
}

void TestBondsenderSlowLinks::everyLinkGetsRegistered()
{
    QFETCH(const Impairments, links);
    QFETCH(const std::chrono::seconds, within);
    constexpr std::uint64_t seeds = 20;
    for (std::uint64_t seed = 0; seed < seeds; ++seed) {
        Simulation simulation(links, seed);
        while (simulation.runningFor() < within) {
            simulation.step();
        }
        const int groupsMade = simulation.groupsMade();
        QVERIFY(groupsMade > 0);
        while (simulation.runningFor() < within + observationTime) {
            // Losses can make a link silent for a moment; the group stays.
            QVERIFY2(simulation.settled() || links[0].loss > 0, qPrintable(QString::number(seed)));
            QCOMPARE(simulation.groupsMade(), groupsMade);
            simulation.step();
        }
    }
}

QTEST_GUILESS_MAIN(TestBondsenderSlowLinks)
#include "tst_bondsender_slowlinks.moc"
