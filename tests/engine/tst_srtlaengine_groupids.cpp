// SPDX-License-Identifier: GPL-2.0-or-later
// The receiver's half of a group id: 128 unpredictable bytes.
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
/// Option: print the receiver's half of one new group id and exit.
const QString printHalf = u"--print-receiver-half"_s;

/// An engine with scripted receiver halves.
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
    void everyByteIsRandom();
    void processesDrawDifferentBytes();
    void anIdInUseIsDrawnAgain();
};

void TestSrtlaEngineGroupIds::everyByteIsRandom()
{
    constexpr quint16 groups = 64;
    // Of 64 random bytes 56 differ on average; fewer than 32 are practically impossible.
    constexpr qsizetype minimumDifferent = 32;
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
        QVERIFY2(values.at(static_cast<size_t>(i)).size() >= minimumDifferent, qPrintable(u"byte %1"_s.arg(i)));
    }
}

void TestSrtlaEngineGroupIds::processesDrawDifferentBytes()
{
    // A generator with a fixed seed would draw the same bytes in each process.
    QByteArrayList halves;
    for (int run = 0; run < 2; ++run) {
        QProcess process;
        process.start(QCoreApplication::applicationFilePath(), {printHalf});
        QVERIFY2(process.waitForFinished(waitMs), qPrintable(process.errorString()));
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
    bool hasRegisteredAgain = false;
    connect(&engine, &SrtlaEngine::logMessage, this, [&](const QString &line) {
        if (!hasRegisteredAgain && line.startsWith(u"GRUPPE"_s)) {
            // The removed group's id is still in the table here.
            hasRegisteredAgain = true;
            probe.handleDatagram(reg1(idProposal('a')), remoteLink(2));
        }
    });
    probe.handleDatagram(reg1(idProposal('a')), remoteLink(3));
    QVERIFY(hasRegisteredAgain);
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
