// SPDX-License-Identifier: GPL-2.0-or-later
// Effect of each control of the panel.
#include "docktest.h"
#include "namedcontrol.h"

#include <QCheckBox>
#include <QClipboard>
#include <QGroupBox>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTextEdit>

using namespace Qt::StringLiterals;

namespace {

using EditGetter = QLineEdit *(DockProbe::*)() const;

} // namespace

class TestDockConnections : public QuietDockTest
{
    Q_OBJECT

private Q_SLOTS:
    void startAndStopButtonsControlTheReceiver();
    void repairButtonCreatesTheSource();
    void copyButtonOfTheAddressRowCopiesTheAddress();
    void copyButtonOfTheClosedAddressGroupDoesNothing();
    void copyButtonOfThePasswordRowCopiesThePassword();
    void showButtonUnmasksThePassword();
    void queryButtonStartsThePublicIpQuery();
    void startUpCheckBoxesSave_data();
    void startUpCheckBoxesSave();
    void editsRecomputeAddressesAtEachKeyAndSaveOnlyWhenFinished_data();
    void editsRecomputeAddressesAtEachKeyAndSaveOnlyWhenFinished();
    void leavingAnEditSavesAllSettings();
    void typingALinkedListenPortRewritesTheTargetAndSavesAtEachKey();
    void aListenPortChangeLinksTheTargetBeforeItComputesTheAddresses();
    void onlyThreeReceiverSignalsAreConnected();
};

void TestDockConnections::startAndStopButtonsControlTheReceiver()
{
    probe->startButton()->click();
    QVERIFY(probe->engine().isRunning());
    probe->stopButton()->click();
    QVERIFY(!probe->engine().isRunning());
}

void TestDockConnections::repairButtonCreatesTheSource()
{
    control<QPushButton>(*fixture->dock, u"Quelle reparieren"_s)->click();
    QVERIFY(ObsDouble::hasSource(u"Tarvoline SRTLA"_s));
}

void TestDockConnections::copyButtonOfTheAddressRowCopiesTheAddress()
{
    control<QGroupBox>(*fixture->dock, u"Verbindungsadressen"_s)->setChecked(true);
    control<QPushButton>(*fixture->dock, u"IRL-App: Kopieren"_s)->click();
    QCOMPARE(QGuiApplication::clipboard()->text(), u"srtla://ÖFFENTLICHE-IP-EINTRAGEN:5000/live"_s);
}

void TestDockConnections::copyButtonOfTheClosedAddressGroupDoesNothing()
{
    QGuiApplication::clipboard()->setText(u"vorher"_s);
    control<QPushButton>(*fixture->dock, u"IRL-App: Kopieren"_s)->click();
    QCOMPARE(QGuiApplication::clipboard()->text(), u"vorher"_s);
}

void TestDockConnections::copyButtonOfThePasswordRowCopiesThePassword()
{
    probe->passwordEdit()->setText(u"geheim12345"_s);
    control<QPushButton>(*fixture->dock, u"Passwort: Kopieren"_s)->click();
    QCOMPARE(QGuiApplication::clipboard()->text(), u"geheim12345"_s);
}

void TestDockConnections::showButtonUnmasksThePassword()
{
    probe->showPasswordButton()->click();
    QCOMPARE(probe->passwordEdit()->echoMode(), QLineEdit::Normal);
}

void TestDockConnections::queryButtonStartsThePublicIpQuery()
{
    // disconnect() returns whether there was a connection; no request is sent.
    QVERIFY(QObject::disconnect(probe->queryIpButton(), &QPushButton::clicked, fixture->dock.get(),
                                &TarvolineDock::queryPublicIp));
    QVERIFY(!QObject::disconnect(probe->queryIpButton(), nullptr, fixture->dock.get(), nullptr));
}

void TestDockConnections::startUpCheckBoxesSave_data()
{
    QTest::addColumn<bool>("isAutoStart");
    QTest::addColumn<QString>("key");
    QTest::newRow("Receiver mit OBS starten") << true << u"autoStart"_s;
    QTest::newRow("Quelle bei OBS-Start reparieren") << false << u"autoSource"_s;
}

void TestDockConnections::startUpCheckBoxesSave()
{
    QFETCH(bool, isAutoStart);
    QFETCH(QString, key);
    QCheckBox *check = isAutoStart ? probe->autoStartCheck() : probe->autoSourceCheck();
    check->click();
    QCOMPARE(fixture->store.value(key).toBool(), true);
    check->click();
    QCOMPARE(fixture->store.value(key).toBool(), false);
}

void TestDockConnections::editsRecomputeAddressesAtEachKeyAndSaveOnlyWhenFinished_data()
{
    QTest::addColumn<EditGetter>("edit");
    QTest::addColumn<QString>("key");
    QTest::newRow("listenPort") << &DockProbe::listenPortEdit << u"listenPort"_s;
    QTest::newRow("targetPort") << &DockProbe::targetPortEdit << u"targetPort"_s;
    QTest::newRow("publicHost") << &DockProbe::publicHostEdit << u"publicHost"_s;
    QTest::newRow("streamId") << &DockProbe::streamIdEdit << u"streamId"_s;
    QTest::newRow("password") << &DockProbe::passwordEdit << u"password"_s;
}

void TestDockConnections::editsRecomputeAddressesAtEachKeyAndSaveOnlyWhenFinished()
{
    QFETCH(EditGetter, edit);
    QFETCH(QString, key);
    probe->linkPortsCheck()->setChecked(false);
    fixture->dock->show();
    QVERIFY(QTest::qWaitForWindowExposed(fixture->dock.get()));
    QLineEdit *field = (*probe.*edit)();
    const QString before = fixture->store.value(key).toString();
    const QString addresses = probe->moblinAddressEdit()->text() + probe->obsAddressEdit()->text();

    field->setFocus();
    QTest::keyClick(field, Qt::Key_End);
    QTest::keyClick(field, Qt::Key_7);
    const QString typed = before + u'7';
    QCOMPARE(field->text(), typed);
    QVERIFY(probe->moblinAddressEdit()->text() + probe->obsAddressEdit()->text() != addresses);
    QCOMPARE(fixture->store.value(key).toString(), before);

    QTest::keyClick(field, Qt::Key_Return);
    QCOMPARE(fixture->store.value(key).toString(), typed);
}

void TestDockConnections::leavingAnEditSavesAllSettings()
{
    fixture->dock->show();
    fixture->dock->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(fixture->dock.get()));
    probe->publicHostEdit()->setFocus();
    QTest::keyClicks(probe->publicHostEdit(), u"host"_s);
    probe->passwordEdit()->setText(u"anderes"_s);
    QCOMPARE(fixture->store.value(u"publicHost"_s).toString(), QString());
    probe->streamIdEdit()->setFocus();
    QTRY_COMPARE_WITH_TIMEOUT(fixture->store.value(u"publicHost"_s).toString(), u"host"_s, waitMs);
    QCOMPARE(fixture->store.value(u"password"_s).toString(), u"anderes"_s);
}

void TestDockConnections::typingALinkedListenPortRewritesTheTargetAndSavesAtEachKey()
{
    probe->listenPortEdit()->clear();
    QCOMPARE(probe->targetPortEdit()->text(), u"5002"_s);
    const QStringList targets{u"8"_s, u"67"_s, u"657"_s, u"6555"_s, u"65535"_s};
    const QString typed = u"65533"_s;
    for (qsizetype i = 0; i < typed.size(); ++i) {
        QTest::keyClicks(probe->listenPortEdit(), QString(typed.at(i)));
        QCOMPARE(probe->targetPortEdit()->text(), targets.at(i));
        QCOMPARE(fixture->store.value(u"targetPort"_s).toString(), targets.at(i));
        QCOMPARE(fixture->store.value(u"listenPort"_s).toString(), typed.left(i + 1));
    }
}

void TestDockConnections::aListenPortChangeLinksTheTargetBeforeItComputesTheAddresses()
{
    QStringList targets;
    connect(probe->moblinAddressEdit(), &QLineEdit::textChanged, this,
            [&] { targets << probe->targetPortEdit()->text(); });
    probe->listenPortEdit()->setText(u"6000"_s);
    QCOMPARE(targets, QStringList{u"6002"_s});
    QCOMPARE(probe->obsAddressEdit()->text(), u"srt://127.0.0.1:6002?mode=listener&latency=2000&lossmaxttl=40"_s);
}

void TestDockConnections::onlyThreeReceiverSignalsAreConnected()
{
    Q_EMIT probe->engine().statisticsChanged(2, 5, 7.5, 1000, 1250000);
    QCOMPARE(probe->lastPacketCount(), quint64(0));
    Q_EMIT probe->engine().runningChanged(true);
    QCOMPARE(probe->statusLabel()->text(), u"Aktiv"_s);
    Q_EMIT probe->engine().statusChanged(u"UDP 1 konnte nicht geöffnet werden: x"_s);
    QCOMPARE(probe->statusLabel()->text(), u"Fehler"_s);
    Q_EMIT probe->engine().logMessage(u"START | Zeile"_s);
    QCOMPARE(probe->logView()->toPlainText(), u"START | Zeile"_s);
}

QTEST_MAIN(TestDockConnections)
#include "tst_dock_connections.moc"
