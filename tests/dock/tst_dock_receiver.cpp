// SPDX-License-Identifier: GPL-2.0-or-later
// Start and stop of the receiver.
#include "docktest.h"
#include "testkit/udpport.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTextEdit>

using namespace Qt::StringLiterals;

class TestDockReceiver : public QuietDockTest
{
    Q_OBJECT

private Q_SLOTS:
    void startRunsTheReceiverAndStopEndsIt();
    void invalidPortTextsStartOnTheDefaultPorts();
    void startNeitherSavesNorRecomputesTheAddresses();
    void takenPortShowsFehlerAndTheMessageBoxAndLeavesStartEnabled();
    void startWorksOnceThePortIsFreeAgain();
    void statusIsFehlerWhileTheMessageBoxIsOpen();
    void startWithoutAutoSourceDoesNotCallLibobs();
    void startWithAutoSourceCreatesTheSourceFirst();
    void startWithAutoSourceAndNoSceneShowsAWarningAndDoesNotStart();
};

void TestDockReceiver::startRunsTheReceiverAndStopEndsIt()
{
    const quint16 port = freePort();
    probe->linkPortsCheck()->setChecked(false);
    probe->listenPortEdit()->setText(QString::number(port));
    probe->targetPortEdit()->setText(u"7002"_s);
    fixture->dock->startReceiver();
    QVERIFY(probe->engine().isRunning());
    QCOMPARE(probe->statusLabel()->text(), u"Aktiv"_s);
    QVERIFY(!probe->startButton()->isEnabled());
    QVERIFY(probe->stopButton()->isEnabled());
    QCOMPARE(probe->logView()->toPlainText(), u"START | SRTLA UDP %1 → SRT 127.0.0.1:7002"_s.arg(port));

    fixture->dock->stopReceiver();
    QVERIFY(!probe->engine().isRunning());
    QCOMPARE(probe->statusLabel()->text(), u"Inaktiv"_s);
    QVERIFY(probe->startButton()->isEnabled());
    QVERIFY(!probe->stopButton()->isEnabled());
    QVERIFY(fixture->boxes.shown().isEmpty());
}

void TestDockReceiver::invalidPortTextsStartOnTheDefaultPorts()
{
    probe->linkPortsCheck()->setChecked(false);
    probe->listenPortEdit()->setText(u"abc"_s);
    probe->targetPortEdit()->setText(u"70000"_s);
    fixture->dock->startReceiver();
    QCOMPARE(probe->logView()->toPlainText(), u"START | SRTLA UDP 5000 → SRT 127.0.0.1:5002"_s);
    QCOMPARE(probe->moblinAddressEdit()->text(), u"srtla://ÖFFENTLICHE-IP-EINTRAGEN:abc/live"_s);
    QCOMPARE(probe->listenPortEdit()->text(), u"abc"_s);
    QVERIFY(fixture->boxes.shown().isEmpty());
}

void TestDockReceiver::startNeitherSavesNorRecomputesTheAddresses()
{
    probe->publicHostEdit()->setText(u"host.example"_s);
    probe->moblinAddressEdit()->setText(u"unverändert"_s);
    fixture->dock->startReceiver();
    QCOMPARE(fixture->store.value(u"publicHost"_s).toString(), QString());
    QCOMPARE(probe->moblinAddressEdit()->text(), u"unverändert"_s);
}

void TestDockReceiver::takenPortShowsFehlerAndTheMessageBoxAndLeavesStartEnabled()
{
    QUdpSocket other;
    QVERIFY2(occupy(other, 0), qPrintable(other.errorString()));
    probe->listenPortEdit()->setText(QString::number(other.localPort()));
    fixture->dock->startReceiver();

    QCOMPARE(probe->statusLabel()->text(), u"Fehler"_s);
    QVERIFY(probe->startButton()->isEnabled());
    QVERIFY(!probe->stopButton()->isEnabled());
    QVERIFY(!probe->engine().isRunning());
    QCOMPARE(fixture->boxes.shown().size(), 1);
    const ShownMessageBox box = fixture->boxes.shown().first();
    QCOMPARE(box.title, u"Receiver konnte nicht starten"_s);
    QCOMPARE(box.text, u"UDP-Port %1 konnte nicht geöffnet werden. Möglicherweise läuft bereits ein anderer "
                       "Receiver."_s.arg(other.localPort()));
    QCOMPARE(box.icon, QMessageBox::Warning);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(box.parent, fixture->dock.get());
    QVERIFY(probe->logView()->toPlainText().startsWith(u"FEHLER | SRTLA-Port %1: "_s.arg(other.localPort())));
}

void TestDockReceiver::startWorksOnceThePortIsFreeAgain()
{
    QUdpSocket other;
    QVERIFY2(occupy(other, 0), qPrintable(other.errorString()));
    probe->listenPortEdit()->setText(QString::number(other.localPort()));
    fixture->dock->startReceiver();
    QCOMPARE(probe->statusLabel()->text(), u"Fehler"_s);
    other.close();
    fixture->dock->startReceiver();
    QCOMPARE(probe->statusLabel()->text(), u"Aktiv"_s);
    QCOMPARE(fixture->boxes.shown().size(), 1);
}

void TestDockReceiver::statusIsFehlerWhileTheMessageBoxIsOpen()
{
    QUdpSocket other;
    QVERIFY2(occupy(other, 0), qPrintable(other.errorString()));
    probe->listenPortEdit()->setText(QString::number(other.localPort()));
    QString status;
    fixture->boxes.answerWith([&](QMessageBox &box) {
        status = probe->statusLabel()->text();
        MessageBoxes::press(box, QMessageBox::Ok);
    });
    fixture->dock->startReceiver();
    QCOMPARE(status, u"Fehler"_s);
}

void TestDockReceiver::startWithoutAutoSourceDoesNotCallLibobs()
{
    fixture->dock->startReceiver();
    QVERIFY(ObsDouble::calls().isEmpty());
}

void TestDockReceiver::startWithAutoSourceCreatesTheSourceFirst()
{
    probe->autoSourceCheck()->setChecked(true);
    fixture->dock->startReceiver();
    QVERIFY(ObsDouble::hasSource(u"Tarvoline SRTLA"_s));
    QCOMPARE(probe->logView()->toPlainText(),
             u"OBS | Neue SRT-Quelle angelegt\nSTART | SRTLA UDP 5000 → SRT 127.0.0.1:5002"_s);
}

void TestDockReceiver::startWithAutoSourceAndNoSceneShowsAWarningAndDoesNotStart()
{
    ObsDouble::setCurrentScene(ObsDouble::CurrentScene::None);
    probe->autoSourceCheck()->setChecked(true);
    fixture->dock->startReceiver();

    QVERIFY(!probe->engine().isRunning());
    QCOMPARE(probe->statusLabel()->text(), u"Inaktiv"_s);
    QCOMPARE(probe->logView()->toPlainText(), QString());
    QCOMPARE(fixture->boxes.shown().size(), 1);
    const ShownMessageBox box = fixture->boxes.shown().first();
    QCOMPARE(box.title, u"SRT-Quelle fehlt"_s);
    QCOMPARE(box.text, u"Die OBS-Medienquelle konnte nicht erstellt werden. Aktiviere zuerst eine Szene."_s);
    QCOMPARE(box.icon, QMessageBox::Warning);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(box.parent, fixture->dock.get());
}

QTEST_MAIN(TestDockReceiver)
#include "tst_dock_receiver.moc"
