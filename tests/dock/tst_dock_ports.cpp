// SPDX-License-Identifier: GPL-2.0-or-later
// The two ports: valid texts, storage, and the link between them.
#include "docktest.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QTest>

using namespace Qt::StringLiterals;

class TestDockPorts : public DockTest
{
    Q_OBJECT

private Q_SLOTS:
    void linkReplacesAStoredTargetPortAtTheEndOfLoading();
    void integerPortsInTheStoreAreReadAsText();
    void portsAreStoredAsTextAsTyped_data();
    void portsAreStoredAsTextAsTyped();
    void parsePortAcceptsPortNumbers_data();
    void parsePortAcceptsPortNumbers();
    void linkReachesUpTo65533_data();
    void linkReachesUpTo65533();
    void unlinkablePortIsNotSavedWhileTyping();
    void linkRestoresTheTargetEditsSignalBlocking_data();
    void linkRestoresTheTargetEditsSignalBlocking();
    void linkEmitsNoTextChangedOfTheTargetEdit();
    void unlinkingMakesTheTargetEditableAndSaves();
    void linkingAgainRewritesTheTargetAndSaves();
    void linkingWithAnInvalidListenPortSaves();
};

void TestDockPorts::linkReplacesAStoredTargetPortAtTheEndOfLoading()
{
    fixture->store.set(u"targetPort"_s, u"7777"_s);
    fixture->store.set(u"linkPorts"_s, true);
    fixture->switchAutomaticsOff();
    const DockProbe probe = fixture->build();
    QCOMPARE(probe.targetPortEdit()->text(), u"5002"_s);
    QCOMPARE(fixture->store.value(u"targetPort"_s).toString(), u"5002"_s);
}

void TestDockPorts::integerPortsInTheStoreAreReadAsText()
{
    fixture->store.set(u"listenPort"_s, 5000);
    fixture->store.set(u"targetPort"_s, 6100);
    fixture->store.set(u"linkPorts"_s, false);
    fixture->switchAutomaticsOff();
    QCOMPARE(fixture->build().targetPortEdit()->text(), u"6100"_s);
}

void TestDockPorts::portsAreStoredAsTextAsTyped_data()
{
    QTest::addColumn<QString>("text");
    for (const char *text : {"abc", "0", "-5", "70000", ""}) {
        QTest::newRow(*text ? text : "empty") << QString::fromLatin1(text);
    }
}

void TestDockPorts::portsAreStoredAsTextAsTyped()
{
    QFETCH(QString, text);
    const DockProbe probe = fixture->buildQuiet();
    probe.linkPortsCheck()->setChecked(false);
    probe.listenPortEdit()->setText(text);
    probe.targetPortEdit()->setText(text);
    fixture->dock->saveSettings();
    QCOMPARE(fixture->store.value(u"listenPort"_s).toString(), text);
    QCOMPARE(fixture->store.value(u"targetPort"_s).toString(), text);
    QCOMPARE(DockProbe::parsePort(probe.listenPortEdit(), 5000), quint16(5000));
    QCOMPARE(DockProbe::parsePort(probe.targetPortEdit(), 5002), quint16(5002));
    QCOMPARE(probe.listenPortEdit()->text(), text);
}

void TestDockPorts::parsePortAcceptsPortNumbers_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("port");
    QTest::newRow("lowest") << u"1"_s << 1;
    QTest::newRow("highest") << u"65535"_s << 65535;
    QTest::newRow("beyond") << u"65536"_s << 4711;
    QTest::newRow("beyond int") << u"99999999999"_s << 4711;
    QTest::newRow("blanks around") << u" 6000 "_s << 6000;
    QTest::newRow("hexadecimal") << u"0x10"_s << 4711;
}

void TestDockPorts::parsePortAcceptsPortNumbers()
{
    QFETCH(QString, text);
    QLineEdit edit(text);
    QTEST(int(DockProbe::parsePort(&edit, 4711)), "port");
}

void TestDockPorts::linkReachesUpTo65533_data()
{
    QTest::addColumn<QString>("listenPort");
    QTest::addColumn<QString>("targetPort");
    QTest::newRow("1") << u"1"_s << u"3"_s;
    QTest::newRow("65533") << u"65533"_s << u"65535"_s;
    QTest::newRow("65534") << u"65534"_s << u"5002"_s;
    QTest::newRow("65535") << u"65535"_s << u"5002"_s;
    QTest::newRow("0") << u"0"_s << u"5002"_s;
    QTest::newRow("-5") << u"-5"_s << u"5002"_s;
    QTest::newRow("abc") << u"abc"_s << u"5002"_s;
    QTest::newRow("empty") << QString() << u"5002"_s;
}

void TestDockPorts::linkReachesUpTo65533()
{
    QFETCH(QString, listenPort);
    const DockProbe probe = fixture->buildQuiet();
    probe.listenPortEdit()->setText(listenPort);
    QTEST(probe.targetPortEdit()->text(), "targetPort");
}

void TestDockPorts::unlinkablePortIsNotSavedWhileTyping()
{
    const DockProbe probe = fixture->buildQuiet();
    probe.listenPortEdit()->setText(u"65534"_s);
    QCOMPARE(fixture->store.value(u"listenPort"_s).toString(), u"5000"_s);
}

void TestDockPorts::linkRestoresTheTargetEditsSignalBlocking_data()
{
    QTest::addColumn<bool>("blocked");
    QTest::newRow("not blocked before") << false;
    QTest::newRow("blocked before") << true;
}

void TestDockPorts::linkRestoresTheTargetEditsSignalBlocking()
{
    QFETCH(bool, blocked);
    const DockProbe probe = fixture->buildQuiet();
    probe.targetPortEdit()->blockSignals(blocked);
    probe.listenPortEdit()->setText(u"6000"_s);
    QCOMPARE(probe.targetPortEdit()->signalsBlocked(), blocked);
    QCOMPARE(probe.obsAddressEdit()->text(), u"srt://127.0.0.1:6002?mode=listener&latency=2000&lossmaxttl=40"_s);
}

void TestDockPorts::linkEmitsNoTextChangedOfTheTargetEdit()
{
    const DockProbe probe = fixture->buildQuiet();
    int changes = 0;
    connect(probe.targetPortEdit(), &QLineEdit::textChanged, this, [&changes] { ++changes; });
    probe.listenPortEdit()->setText(u"6000"_s);
    QCOMPARE(changes, 0);
}

void TestDockPorts::unlinkingMakesTheTargetEditableAndSaves()
{
    const DockProbe probe = fixture->buildQuiet();
    QVERIFY(probe.targetPortEdit()->isReadOnly());
    probe.linkPortsCheck()->click();
    QVERIFY(!probe.targetPortEdit()->isReadOnly());
    QCOMPARE(fixture->store.value(u"linkPorts"_s).toBool(), false);
    QCOMPARE(probe.targetPortEdit()->text(), u"5002"_s);
}

void TestDockPorts::linkingAgainRewritesTheTargetAndSaves()
{
    const DockProbe probe = fixture->buildQuiet();
    probe.linkPortsCheck()->click();
    probe.targetPortEdit()->setText(u"7777"_s);
    probe.linkPortsCheck()->click();
    QVERIFY(probe.targetPortEdit()->isReadOnly());
    QCOMPARE(probe.targetPortEdit()->text(), u"5002"_s);
    QCOMPARE(fixture->store.value(u"linkPorts"_s).toBool(), true);
    QCOMPARE(fixture->store.value(u"targetPort"_s).toString(), u"5002"_s);
}

void TestDockPorts::linkingWithAnInvalidListenPortSaves()
{
    const DockProbe probe = fixture->buildQuiet();
    probe.linkPortsCheck()->click();
    probe.listenPortEdit()->setText(u"abc"_s);
    probe.linkPortsCheck()->click();
    QCOMPARE(fixture->store.value(u"linkPorts"_s).toBool(), true);
    QCOMPARE(fixture->store.value(u"listenPort"_s).toString(), u"abc"_s);
    QCOMPARE(probe.targetPortEdit()->text(), u"5002"_s);
}

QTEST_MAIN(TestDockPorts)
#include "tst_dock_ports.moc"
