// SPDX-License-Identifier: GPL-2.0-or-later
// The receiver's half of a group's id: 128 bytes that nobody can foresee.
#include "enginefixture.h"

#include <QCoreApplication>
#include <QProcess>
#include <QSet>
#include <QTest>

#include <array>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype halfBytes = 128;
/// Makes this program print the receiver's half of one new group's id and end.
const QString printHalf = u"--print-receiver-half"_s;

/// An engine that draws what the test says.
class ScriptedEngine : public SrtlaEngine
{
public:
    mutable QByteArrayList draws;

protected:
    QByteArray drawReceiverId() const override { return draws.takeFirst(); }
};

} // namespace

class TestSrtlaEngineGroupIds : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyByteIsDrawn();
    void anotherProcessDrawsOtherBytes();
    void anIdInUseIsDrawnAgain();
};

void TestSrtlaEngineGroupIds::everyByteIsDrawn()
{
    constexpr quint16 groups = 64;
    // Of 64 random bytes 56 differ on average, and fewer than 32 never within the age of the universe.
    constexpr qsizetype surelyDifferent = 32;
    EngineFixture fixture;
    std::array<QSet<char>, halfBytes> values;
    for (quint16 number = 1; number <= groups; ++number) {
        const QByteArray id = fixture.openGroup(remoteLink(number), static_cast<char>(number));
        QCOMPARE(id.size(), 2 * halfBytes);
        for (qsizetype i = 0; i < halfBytes; ++i) {
            values.at(static_cast<size_t>(i)).insert(id.at(halfBytes + i));
        }
    }
    for (qsizetype i = 0; i < halfBytes; ++i) {
        QVERIFY2(values.at(static_cast<size_t>(i)).size() >= surelyDifferent, qPrintable(u"byte %1"_s.arg(i)));
    }
}

void TestSrtlaEngineGroupIds::anotherProcessDrawsOtherBytes()
{
    // A generator with a fixed seed draws different bytes within one process, and the same ones in the next.
    QByteArrayList halves;
    for (int run = 0; run < 2; ++run) {
        QProcess process;
        process.start(QCoreApplication::applicationFilePath(), {printHalf});
        QVERIFY2(process.waitForFinished(ampleMs), qPrintable(process.errorString()));
        halves.append(process.readAllStandardOutput().trimmed());
        QCOMPARE(halves.last().size(), 2 * halfBytes); // as hexadecimal digits
    }
    QVERIFY(halves.first() != halves.last());
}

void TestSrtlaEngineGroupIds::anIdInUseIsDrawnAgain()
{
    const QByteArray first(halfBytes, '1');
    const QByteArray second(halfBytes, '2');
    const QByteArray third(halfBytes, '3');
    ScriptedEngine engine;
    const EngineProbe probe{engine};
    QVERIFY(engine.start(0, QHostAddress(QHostAddress::LocalHost), 5002));
    engine.draws = {first, first, second, third};
    probe.handleDatagram(reg1(idProposal('a')), remoteLink(1));
    bool comesAgain = false;
    connect(&engine, &SrtlaEngine::logMessage, this, [&](const QString &line) {
        if (!comesAgain && line.startsWith(u"GRUPPE"_s)) {
            // While the first group's end is told, it still has its id.
            comesAgain = true;
            probe.handleDatagram(reg1(idProposal('a')), remoteLink(2));
        }
    });
    probe.handleDatagram(reg1(idProposal('a')), remoteLink(3));
    QVERIFY(comesAgain);
    const QByteArray senderId = idProposal('a').first(halfBytes);
    QCOMPARE(probe.senderIndex().value(remoteLink(2)), senderId + second);
    QVERIFY(probe.group(senderId + second));
    QVERIFY(probe.group(senderId + third));
}

namespace {

int printReceiverHalf()
{
    SrtlaEngine engine;
    const EngineProbe probe{engine};
    if (!engine.start(0, QHostAddress(QHostAddress::LocalHost), 5002)) {
        return 1;
    }
    probe.handleDatagram(reg1(idProposal('a')), remoteLink(1));
    std::puts(probe.groups().keys().constFirst().last(halfBytes).toHex().constData());
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().contains(printHalf)) {
        return printReceiverHalf();
    }
    TestSrtlaEngineGroupIds test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_srtlaengine_groupids.moc"
