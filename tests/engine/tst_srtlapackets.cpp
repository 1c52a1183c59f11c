// SPDX-License-Identifier: GPL-2.0-or-later
#include "srtlapackets.h"

#include "enginefixture.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestSrtlaPackets : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void typeWord_data();
    void typeWord();
    void firstWord();
    void senderDatagrams_data();
    void senderDatagrams();
    void srtAcks_data();
    void srtAcks();
    void sequenceNumbersLoseTheControlBit_data();
    void sequenceNumbersLoseTheControlBit();
    void builtPackets();
    void registrationsAreParsed();
    void shortGroupIdHasSixBytes();
};

void TestSrtlaPackets::typeWord_data()
{
    QTest::addColumn<QByteArray>("datagram");
    QTest::addColumn<quint16>("expected");
    QTest::newRow("empty") << QByteArray() << quint16{0};
    QTest::newRow("one byte") << QByteArray::fromHex("92") << quint16{0};
    QTest::newRow("two bytes") << QByteArray::fromHex("9201") << quint16{0x9201};
    QTest::newRow("more") << QByteArray::fromHex("800200ff") << quint16{0x8002};
}

void TestSrtlaPackets::typeWord()
{
    QFETCH(QByteArray, datagram);
    QTEST(::typeWord(datagram), "expected");
}

void TestSrtlaPackets::firstWord()
{
    QCOMPARE(::firstWord(QByteArray::fromHex("010203")), 0U);
    QCOMPARE(::firstWord(QByteArray::fromHex("01020304")), 0x01020304U);
    QCOMPARE(::firstWord(QByteArray::fromHex("ff02030405")), 0xff020304U);
}

void TestSrtlaPackets::senderDatagrams_data()
{
    QTest::addColumn<QByteArray>("datagram");
    QTest::addColumn<int>("expected");
    const auto row = [](const char *name, const QByteArray &datagram, SenderDatagram expected) {
        QTest::newRow(name) << datagram << static_cast<int>(expected);
    };
    row("empty", QByteArray(), SenderDatagram::Unusable);
    row("1501 bytes", QByteArray(1501, '\0'), SenderDatagram::Unusable);
    row("REG1", typed(0x9200, 258), SenderDatagram::Reg1);
    row("REG2", typed(0x9201, 258), SenderDatagram::Reg2);
    row("REG3 type of a registration's size", typed(0x9202, 258), SenderDatagram::SrtControl);
    for (const int size : {16, 257, 259, 1500}) {
        QTest::addRow("REG1 type, %d bytes", size) << typed(0x9200, size) << int(SenderDatagram::SrtControl);
        QTest::addRow("REG2 type, %d bytes", size) << typed(0x9201, size) << int(SenderDatagram::SrtControl);
    }
    row("REG1 type alone", typed(0x9200, 2), SenderDatagram::TooShort);
    row("REG2 type alone", typed(0x9201, 2), SenderDatagram::TooShort);
    for (const int size : {2, 10, 15, 16, 258, 1500}) {
        QTest::addRow("keepalive, %d bytes", size) << typed(0x9000, size) << int(SenderDatagram::Keepalive);
    }
    row("keepalive, 1501 bytes", typed(0x9000, 1501), SenderDatagram::Unusable);
    row("half a keepalive", QByteArray::fromHex("90"), SenderDatagram::TooShort);
    row("data, 15 bytes", srtData(1, 15), SenderDatagram::TooShort);
    row("data, 16 bytes", srtData(1, 16), SenderDatagram::SrtData);
    row("data, 258 bytes", srtData(1, 258), SenderDatagram::SrtData);
    row("data, 1500 bytes", srtData(1, 1500), SenderDatagram::SrtData);
    row("highest sequence number", srtData(0x7fffffff, 16), SenderDatagram::SrtData);
    row("control, 15 bytes", typed(0x8000, 15), SenderDatagram::TooShort);
    row("control, 16 bytes", typed(0x8000, 16), SenderDatagram::SrtControl);
    row("an SRTLA ACK, which no sender sends", typed(0x9100, 44), SenderDatagram::SrtControl);
    row("an unknown SRTLA type", typed(0x9fff, 16), SenderDatagram::SrtControl);
}

void TestSrtlaPackets::senderDatagrams()
{
    QFETCH(QByteArray, datagram);
    QTEST(static_cast<int>(classifySenderDatagram(datagram)), "expected");
}

void TestSrtlaPackets::srtAcks_data()
{
    QTest::addColumn<QByteArray>("datagram");
    QTest::addColumn<bool>("expected");
    QTest::newRow("2 bytes") << typed(0x8002, 2) << true;
    QTest::newRow("44 bytes") << typed(0x8002, 44) << true;
    QTest::newRow("2000 bytes") << typed(0x8002, 2000) << true;
    QTest::newRow("1 byte") << QByteArray::fromHex("80") << false;
    QTest::newRow("empty") << QByteArray() << false;
    QTest::newRow("keep-alive") << typed(0x8001, 16) << false;
    QTest::newRow("NAK") << typed(0x8003, 20) << false;
    QTest::newRow("data with the number 2 in its second byte") << srtData(0x00020000, 20) << false;
}

void TestSrtlaPackets::srtAcks()
{
    QFETCH(QByteArray, datagram);
    QTEST(isSrtAck(datagram), "expected");
}

void TestSrtlaPackets::sequenceNumbersLoseTheControlBit_data()
{
    QTest::addColumn<quint32>("word");
    QTest::addColumn<quint32>("expected");
    QTest::newRow("0") << 0U << 0U;
    QTest::newRow("1") << 1U << 1U;
    QTest::newRow("highest") << 0x7fffffffU << 0x7fffffffU;
    QTest::newRow("with the bit") << 0x80000005U << 5U;
}

void TestSrtlaPackets::sequenceNumbersLoseTheControlBit()
{
    QFETCH(quint32, word);
    QTEST(sequenceNumber(bigEndian32(word)), "expected");
}

void TestSrtlaPackets::builtPackets()
{
    const QByteArray id = idProposal('q');
    QCOMPARE(makeReg2(id), QByteArray::fromHex("9201") + id);
    QCOMPARE(makeTypeOnly(SRTLA_TYPE_REG3), QByteArray::fromHex("9202"));
    QCOMPARE(makeTypeOnly(SRTLA_TYPE_REG_ERR), QByteArray::fromHex("9210"));
    QCOMPARE(makeTypeOnly(SRTLA_TYPE_REG_NGP), QByteArray::fromHex("9211"));

    const std::array<quint32, 10> sequences{0x7fffffff, 0, 1, 0x01020304, 5, 6, 7, 8, 9, 10};
    const auto ack = makeAck(sequences);
    QCOMPARE(QByteArray(ack.data(), ack.size()).toHex(), QByteArray("91000000"
                                                                    "7fffffff"
                                                                    "00000000"
                                                                    "00000001"
                                                                    "01020304"
                                                                    "00000005"
                                                                    "00000006"
                                                                    "00000007"
                                                                    "00000008"
                                                                    "00000009"
                                                                    "0000000a"));
}

void TestSrtlaPackets::registrationsAreParsed()
{
    const QByteArray id = idProposal('r');
    QCOMPARE(senderIdOfReg1(reg1(id)), id.first(128));
    QCOMPARE(groupIdOfReg2(reg2(id)), id);
}

void TestSrtlaPackets::shortGroupIdHasSixBytes()
{
    QCOMPARE(shortGroupId(QByteArray::fromHex("3FA07C1D22E9") + QByteArray(250, 'x')), u"3fa07c1d22e9"_s);
    QCOMPARE(shortGroupId(QByteArray(256, '\0')), u"000000000000"_s);
}

QTEST_GUILESS_MAIN(TestSrtlaPackets)
#include "tst_srtlapackets.moc"
