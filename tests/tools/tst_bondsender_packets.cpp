// SPDX-License-Identifier: GPL-2.0-or-later
#include "packets.h"

#include <QTest>

using namespace bondsender;

namespace {

Bytes filled(std::initializer_list<std::uint8_t> start, std::size_t size)
{
    Bytes bytes(start);
    bytes.resize(size, 0x55);
    return bytes;
}

GroupId countingId()
{
    GroupId id;
    for (std::size_t at = 0; at < id.size(); ++at) {
        id[at] = static_cast<std::uint8_t>(at);
    }
    return id;
}

} // namespace

class TestBondsenderPackets : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void classification_data();
    void classification();
    void registrationsCarryTheId();
    void keepaliveEchoContainsItsTimeStamp();
    void srtlaAckHasTenSequenceNumbers();
    void dataPacketsHaveASequence();
    void srtAckHasTheNextSequenceNumber();
    void lossReportHasNumbersAndRanges();
    void truncatedLossReportIsParsedPartially();
    void sequenceNumbersWrap();
};

void TestBondsenderPackets::classification_data()
{
    QTest::addColumn<Bytes>("datagram");
    QTest::addColumn<Incoming>("kind");
    QTest::newRow("empty") << Bytes{} << Incoming::Malformed;
    QTest::newRow("one byte") << Bytes{0x92} << Incoming::Malformed;
    QTest::newRow("REG2") << filled({0x92, 0x01}, 258) << Incoming::GroupCreated;
    QTest::newRow("short REG2") << filled({0x92, 0x01}, 257) << Incoming::Malformed;
    QTest::newRow("REG3") << Bytes{0x92, 0x02} << Incoming::LinkRegistered;
    QTest::newRow("long REG3") << Bytes{0x92, 0x02, 0x00} << Incoming::Malformed;
    QTest::newRow("REG_ERR") << Bytes{0x92, 0x10} << Incoming::LinkRefused;
    QTest::newRow("REG_NGP") << Bytes{0x92, 0x11} << Incoming::GroupUnknown;
    QTest::newRow("keepalive") << Bytes{0x90, 0x00} << Incoming::Keepalive;
    QTest::newRow("SRTLA ACK") << filled({0x91, 0x00}, 44) << Incoming::SrtlaAck;
    QTest::newRow("short SRTLA ACK") << filled({0x91, 0x00}, 40) << Incoming::Malformed;
    QTest::newRow("SRT ACK") << filled({0x80, 0x02}, 44) << Incoming::Srt;
    QTest::newRow("SRT data") << filled({0x00, 0x01}, 16) << Incoming::Srt;
    QTest::newRow("less than an SRT header") << filled({0x00, 0x01}, 15) << Incoming::Malformed;
    QTest::newRow("REG1 is never sent to us") << filled({0x92, 0x00}, 258) << Incoming::Malformed;
}

void TestBondsenderPackets::classification()
{
    QFETCH(Bytes, datagram);
    QFETCH(Incoming, kind);
    QCOMPARE(classifyIncoming(datagram), kind);
}

void TestBondsenderPackets::registrationsCarryTheId()
{
    const Bytes reg1 = makeReg1(countingId());
    const Bytes reg2 = makeReg2(countingId());
    QCOMPARE(reg1.size(), 258U);
    QCOMPARE(reg2.size(), 258U);
    QCOMPARE(Bytes(reg1.begin(), reg1.begin() + 4), (Bytes{0x92, 0x00, 0, 1}));
    QCOMPARE(Bytes(reg2.begin(), reg2.begin() + 4), (Bytes{0x92, 0x01, 0, 1}));
    QCOMPARE(reg2.back(), 255);
    QVERIFY(groupIdOf(reg2) == countingId());
    QVERIFY(!groupIdOf(reg1));
}

void TestBondsenderPackets::keepaliveEchoContainsItsTimeStamp()
{
    const Bytes keepalive = makeKeepalive(0x0102030405060708);
    QCOMPARE(keepalive, (Bytes{0x90, 0x00, 1, 2, 3, 4, 5, 6, 7, 8}));
    QCOMPARE(keepaliveStamp(keepalive), std::optional<std::uint64_t>(0x0102030405060708));
    QVERIFY(!keepaliveStamp(Bytes{0x90, 0x00}));
}

void TestBondsenderPackets::srtlaAckHasTenSequenceNumbers()
{
    Bytes ack{0x91, 0x00, 0x00, 0x00};
    std::vector<std::uint32_t> expected;
    for (std::uint8_t number = 1; number <= 10; ++number) {
        ack.insert(ack.end(), {0x7F, 0x00, 0x01, number});
        expected.push_back(0x7F000100U + number);
    }
    QCOMPARE(srtlaAckedNumbers(ack), expected);
    ack.pop_back();
    QVERIFY(srtlaAckedNumbers(ack).empty());
}

void TestBondsenderPackets::dataPacketsHaveASequence()
{
    QCOMPARE(dataSequence(filled({0x7F, 0xFF, 0xFF, 0xFF}, 16)), std::optional<std::uint32_t>(0x7FFFFFFF));
    QCOMPARE(dataSequence(filled({0, 0, 0, 0}, 16)), std::optional<std::uint32_t>(0));
    QVERIFY(!dataSequence(filled({0x80, 0x00}, 16)));
    QVERIFY(!dataSequence(filled({0x00, 0x00}, 15)));
}

void TestBondsenderPackets::srtAckHasTheNextSequenceNumber()
{
    Bytes ack = filled({0x80, 0x02}, 16);
    QVERIFY(!srtAckedUpTo(ack));
    ack.insert(ack.end(), {0x01, 0x02, 0x03, 0x04});
    QCOMPARE(srtAckedUpTo(ack), std::optional<std::uint32_t>(0x01020304));
    ack[1] = 0x03;
    QVERIFY(!srtAckedUpTo(ack));
}

void TestBondsenderPackets::lossReportHasNumbersAndRanges()
{
    Bytes nak = filled({0x80, 0x03}, 16);
    nak.insert(nak.end(), {0, 0, 0, 5});
    nak.insert(nak.end(), {0x80, 0, 0, 7, 0, 0, 0, 9});
    QVERIFY((srtLossReport(nak) == std::vector<SequenceRange>{{5, 5}, {7, 9}}));
    QVERIFY(srtLossReport(filled({0x80, 0x02}, 24)).empty());
}

void TestBondsenderPackets::truncatedLossReportIsParsedPartially()
{
    Bytes nak = filled({0x80, 0x03}, 16);
    QVERIFY(srtLossReport(nak).empty());
    nak.insert(nak.end(), {0, 0, 0, 5, 0x80, 0, 0, 7, 0, 0});
    QVERIFY((srtLossReport(nak) == std::vector<SequenceRange>{{5, 5}}));
}

void TestBondsenderPackets::sequenceNumbersWrap()
{
    QVERIFY(sequenceBefore(1, 2));
    QVERIFY(!sequenceBefore(2, 2));
    QVERIFY(!sequenceBefore(2, 1));
    QVERIFY(sequenceBefore(0x7FFFFFFF, 0));
    QVERIFY(!sequenceBefore(0, 0x7FFFFFFF));
}

QTEST_GUILESS_MAIN(TestBondsenderPackets)
#include "tst_bondsender_packets.moc"
