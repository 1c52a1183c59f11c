// SPDX-License-Identifier: GPL-2.0-or-later
// The settings store: keys, types, defaults, and signals during loading.
#include "docktest.h"

#include <QCheckBox>
#include <QDockWidget>
#include <QFile>
#include <QLineEdit>
#include <QMainWindow>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

class TestDockSettings : public DockTest
{
    Q_OBJECT

private Q_SLOTS:
    void firstStartShowsTheDefaultsAndEndsWithoutSourceRepair();
    void storedAutoStartTurnsSourceRepairOffAtEachStart_data();
    void storedAutoStartTurnsSourceRepairOffAtEachStart();
    void sourceRepairSurvivesARestartWithoutAutoStart();
    void valuesOfTheDefaultPortsSurviveARestart();
    void storedListenPortOtherThanTheDefaultOverwritesLaterKeys();
    void unlinkedPortsSurviveARestartWithTheDefaultListenPort();
    void wrongTypesInTheStoreAreConvertedAsQtDoes();
    void savingWritesTheFileAtOnce();
    void unknownKeysAreKept();
    void typedTextIsSavedWhenItsWindowCloses_data();
    void typedTextIsSavedWhenItsWindowCloses();
    void destructionSavesNothing();
};

void TestDockSettings::firstStartShowsTheDefaultsAndEndsWithoutSourceRepair()
{
    const DockProbe probe = fixture->build();
    QCOMPARE(probe.listenPortEdit()->text(), u"5000"_s);
    QCOMPARE(probe.targetPortEdit()->text(), u"5002"_s);
    QCOMPARE(probe.publicHostEdit()->text(), QString());
    QCOMPARE(probe.streamIdEdit()->text(), u"live"_s);
    QCOMPARE(probe.passwordEdit()->text(), QString());
    QVERIFY(probe.autoStartCheck()->isChecked());
    QVERIFY(!probe.autoSourceCheck()->isChecked());
    QVERIFY(probe.linkPortsCheck()->isChecked());
    QVERIFY(probe.targetPortEdit()->isReadOnly());

    QStringList keys = fixture->store.keys();
    keys.sort();
    QCOMPARE(keys, (QStringList{u"autoSource"_s, u"autoStart"_s, u"linkPorts"_s, u"listenPort"_s, u"password"_s,
                                u"publicHost"_s, u"streamId"_s, u"targetPort"_s}));
    QCOMPARE(fixture->store.value(u"listenPort"_s).toString(), u"5000"_s);
    QCOMPARE(fixture->store.value(u"targetPort"_s).toString(), u"5002"_s);
    QCOMPARE(fixture->store.value(u"publicHost"_s).toString(), QString());
    QCOMPARE(fixture->store.value(u"streamId"_s).toString(), u"live"_s);
    QCOMPARE(fixture->store.value(u"password"_s).toString(), QString());
    QCOMPARE(fixture->store.value(u"autoStart"_s).toBool(), true);
    QCOMPARE(fixture->store.value(u"autoSource"_s).toBool(), false);
    QCOMPARE(fixture->store.value(u"linkPorts"_s).toBool(), true);
}

void TestDockSettings::storedAutoStartTurnsSourceRepairOffAtEachStart_data()
{
    QTest::addColumn<bool>("storedAutoSource");
    QTest::newRow("autoSource stored true") << true;
    QTest::newRow("autoSource stored false") << false;
}

void TestDockSettings::storedAutoStartTurnsSourceRepairOffAtEachStart()
{
    QFETCH(bool, storedAutoSource);
    fixture->store.set(u"autoStart"_s, true);
    fixture->store.set(u"autoSource"_s, storedAutoSource);
    const DockProbe probe = fixture->build();
    QVERIFY(probe.autoStartCheck()->isChecked());
    QVERIFY(!probe.autoSourceCheck()->isChecked());
    QCOMPARE(fixture->store.value(u"autoSource"_s).toBool(), false);
}

void TestDockSettings::sourceRepairSurvivesARestartWithoutAutoStart()
{
    fixture->store.set(u"publicHost"_s, u"host.example"_s);
    fixture->store.set(u"password"_s, u"geheim"_s);
    fixture->store.set(u"autoStart"_s, false);
    fixture->store.set(u"autoSource"_s, true);
    const DockProbe probe = fixture->build();
    QVERIFY(!probe.autoStartCheck()->isChecked());
    QVERIFY(probe.autoSourceCheck()->isChecked());
    QCOMPARE(fixture->store.value(u"autoSource"_s).toBool(), true);
    QCOMPARE(fixture->store.value(u"publicHost"_s).toString(), u"host.example"_s);
    QCOMPARE(fixture->store.value(u"password"_s).toString(), u"geheim"_s);
}

void TestDockSettings::valuesOfTheDefaultPortsSurviveARestart()
{
    {
        const DockProbe probe = fixture->buildQuiet();
        probe.publicHostEdit()->setText(u" host.example "_s);
        probe.streamIdEdit()->setText(u" my stream"_s);
        probe.passwordEdit()->setText(u"ä€ 'x'"_s);
        fixture->dock->saveSettings();
        fixture->dock.reset();
    }
    const DockProbe probe = fixture->build();
    QCOMPARE(probe.publicHostEdit()->text(), u" host.example "_s);
    QCOMPARE(probe.streamIdEdit()->text(), u" my stream"_s);
    QCOMPARE(probe.passwordEdit()->text(), u"ä€ 'x'"_s);
}

void TestDockSettings::storedListenPortOtherThanTheDefaultOverwritesLaterKeys()
{
    fixture->store.set(u"listenPort"_s, u"6000"_s);
    fixture->store.set(u"targetPort"_s, u"7777"_s);
    fixture->store.set(u"publicHost"_s, u"host.example"_s);
    fixture->store.set(u"streamId"_s, u"mine"_s);
    fixture->store.set(u"password"_s, u"geheim"_s);
    fixture->store.set(u"autoStart"_s, true);
    fixture->store.set(u"autoSource"_s, true);
    fixture->store.set(u"linkPorts"_s, false);
    const DockProbe probe = fixture->build();
    QCOMPARE(probe.listenPortEdit()->text(), u"6000"_s);
    QCOMPARE(probe.targetPortEdit()->text(), u"6002"_s);
    QCOMPARE(probe.publicHostEdit()->text(), QString());
    QCOMPARE(probe.streamIdEdit()->text(), u"live"_s);
    QCOMPARE(probe.passwordEdit()->text(), QString());
    QVERIFY(!probe.autoStartCheck()->isChecked());
    QVERIFY(!probe.autoSourceCheck()->isChecked());
    // The save triggered by the link has overwritten this value with the panel's default.
    QVERIFY(probe.linkPortsCheck()->isChecked());
    QVERIFY(probe.targetPortEdit()->isReadOnly());
    QCOMPARE(fixture->store.value(u"publicHost"_s).toString(), QString());
    QCOMPARE(fixture->store.value(u"linkPorts"_s).toBool(), true);
}

void TestDockSettings::unlinkedPortsSurviveARestartWithTheDefaultListenPort()
{
    fixture->store.set(u"listenPort"_s, u"5000"_s);
    fixture->store.set(u"targetPort"_s, u"7777"_s);
    fixture->store.set(u"autoStart"_s, false);
    fixture->store.set(u"autoSource"_s, false);
    fixture->store.set(u"linkPorts"_s, false);
    const DockProbe probe = fixture->build();
    QVERIFY(!probe.linkPortsCheck()->isChecked());
    QCOMPARE(probe.targetPortEdit()->text(), u"7777"_s);
    QVERIFY(!probe.targetPortEdit()->isReadOnly());
}

void TestDockSettings::wrongTypesInTheStoreAreConvertedAsQtDoes()
{
    fixture->store.set(u"publicHost"_s, 12);
    fixture->store.set(u"linkPorts"_s, u"true"_s);
    fixture->store.set(u"autoStart"_s, u"false"_s);
    fixture->store.set(u"autoSource"_s, 0);
    const DockProbe probe = fixture->build();
    QCOMPARE(probe.publicHostEdit()->text(), u"12"_s);
    QVERIFY(probe.linkPortsCheck()->isChecked());
    QVERIFY(!probe.autoStartCheck()->isChecked());
    QVERIFY(!probe.autoSourceCheck()->isChecked());
}

// At once, because other programs may share the store and OBS may crash.
void TestDockSettings::savingWritesTheFileAtOnce()
{
    const DockProbe probe = fixture->buildQuiet();
    QFile file(probe.settings().fileName());
    if (!file.exists()) {
        QSKIP("the store is the registry, which is written immediately");
    }
    probe.publicHostEdit()->setText(u"am.stueck.example"_s);
    fixture->dock->saveSettings();
    // Read the file: QSettings objects of one process share unwritten values.
    QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.errorString()));
    QVERIFY(file.readAll().contains("publicHost=am.stueck.example\n"));
}

void TestDockSettings::unknownKeysAreKept()
{
    fixture->store.set(u"lastUpdateCheckUtc"_s, qint64(1700000000));
    fixture->buildQuiet();
    fixture->dock->saveSettings();
    QCOMPARE(fixture->store.value(u"lastUpdateCheckUtc"_s).toLongLong(), qint64(1700000000));
}

void TestDockSettings::typedTextIsSavedWhenItsWindowCloses_data()
{
    QTest::addColumn<bool>("floating");
    QTest::addColumn<bool>("destroyed");
    QTest::newRow("docked, closed") << false << false;
    QTest::newRow("docked, destroyed") << false << true;
    QTest::newRow("floating, destroyed") << true << true;
}

void TestDockSettings::typedTextIsSavedWhenItsWindowCloses()
{
    // As in OBS: the main window owns the dock and is destroyed without a further event loop iteration.
    QFETCH(bool, floating);
    QFETCH(bool, destroyed);
    const DockProbe probe = fixture->buildQuiet();
    auto window = std::make_unique<QMainWindow>();
    auto *frame = new QDockWidget(window.get());
    frame->setWidget(fixture->dock.release());
    window->addDockWidget(Qt::RightDockWidgetArea, frame);
    frame->setFloating(floating);
    window->show();
    QWidget *active = floating ? static_cast<QWidget *>(frame) : window.get();
    active->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(active));
    probe.passwordEdit()->setFocus();
    QTest::keyClicks(probe.passwordEdit(), u"geheim12345"_s);
    QCOMPARE(fixture->store.value(u"password"_s).toString(), QString());
    if (destroyed) {
        window.reset();
    } else {
        window->close();
    }
    QCOMPARE(fixture->store.value(u"password"_s).toString(), u"geheim12345"_s);
}

void TestDockSettings::destructionSavesNothing()
{
    const DockProbe probe = fixture->buildQuiet();
    probe.publicHostEdit()->setText(u"nicht gespeichert"_s);
    fixture->dock.reset();
    QCOMPARE(fixture->store.value(u"publicHost"_s).toString(), QString());
}

QTEST_MAIN(TestDockSettings)
#include "tst_dock_settings.moc"
