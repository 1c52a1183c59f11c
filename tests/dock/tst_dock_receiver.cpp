// SPDX-License-Identifier: GPL-2.0-or-later
// Start and stop, connection addresses, clipboard, passphrase button.
#include "dockfixture.h"
#include "testkit/udpport.h"

#include <QCheckBox>
#include <QClipboard>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTextDocument>
#include <QTextEdit>

#include <optional>

using namespace Qt::StringLiterals;

class TestDockReceiver : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        fixture.emplace();
        probe.emplace(fixture->buildQuiet());
    }
    void cleanup()
    {
        probe.reset();
        fixture.reset();
    }

    void senderAddressHasHostPortAndStreamId_data()
    {
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("port");
        QTest::addColumn<QString>("streamId");
        QTest::addColumn<QString>("address");
        QTest::newRow("address") << u"203.0.113.7"_s << u"5000"_s << u"live"_s << u"srtla://203.0.113.7:5000/live"_s;
        QTest::newRow("no host") << QString() << u"5000"_s << u"live"_s
                                 << u"srtla://ÖFFENTLICHE-IP-EINTRAGEN:5000/live"_s;
        QTest::newRow("blank host") << u" \t "_s << u"5000"_s << u"live"_s
                                    << u"srtla://ÖFFENTLICHE-IP-EINTRAGEN:5000/live"_s;
        QTest::newRow("blanks around the host")
            << u"  my.host.example "_s << u"5000"_s << u"live"_s << u"srtla://my.host.example:5000/live"_s;
        QTest::newRow("stream id as typed") << u"h"_s << u"5000"_s << u" a b/c "_s << u"srtla://h:5000/ a b/c "_s;
        QTest::newRow("port as typed") << u"h"_s << u" abc"_s << u"live"_s << u"srtla://h: abc/live"_s;
        QTest::newRow("place markers in the texts") << u"%2"_s << u"%3"_s << u"%1"_s << u"srtla://%2:%3/%1"_s;
    }
    void senderAddressHasHostPortAndStreamId()
    {
        QFETCH(QString, host);
        QFETCH(QString, port);
        QFETCH(QString, streamId);
        probe->publicHostEdit()->setText(host);
        probe->listenPortEdit()->setText(port);
        probe->streamIdEdit()->setText(streamId);
        QTEST(probe->moblinAddressEdit()->text(), "address");
    }

    void obsUrlCarriesPortAndPassphraseAsTyped_data()
    {
        QTest::addColumn<QString>("port");
        QTest::addColumn<QString>("password");
        QTest::addColumn<QString>("url");
        const QString tail = u"?mode=listener&latency=2000&lossmaxttl=40"_s;
        QTest::newRow("no password") << u"5002"_s << QString() << u"srt://127.0.0.1:5002"_s + tail;
        QTest::newRow("password") << u"5002"_s << u"abc"_s << u"srt://127.0.0.1:5002"_s + tail + u"&passphrase=abc"_s;
        QTest::newRow("port as typed") << u" x"_s << QString() << u"srt://127.0.0.1: x"_s + tail;
        QTest::newRow("password unencoded")
            << u"5002"_s << u" a&b=%20ä "_s << u"srt://127.0.0.1:5002"_s + tail + u"&passphrase= a&b=%20ä "_s;
        QTest::newRow("place marker in the password")
            << u"5002"_s << u"%1"_s << u"srt://127.0.0.1:5002"_s + tail + u"&passphrase=%1"_s;
        QTest::newRow("blank password") << u"5002"_s << u" "_s << u"srt://127.0.0.1:5002"_s + tail + u"&passphrase= "_s;
        QTest::newRow("place marker in the port")
            << u"%1"_s << u"abc"_s << u"srt://127.0.0.1:%1"_s + tail + u"&passphrase=abc"_s;
    }
    void obsUrlCarriesPortAndPassphraseAsTyped()
    {
        QFETCH(QString, port);
        QFETCH(QString, password);
        probe->targetPortEdit()->setText(port);
        probe->passwordEdit()->setText(password);
        QTEST(probe->obsAddressEdit()->text(), "url");
    }

    void addressesAreComputedOnceAfterLoading()
    {
        QCOMPARE(probe->moblinAddressEdit()->text(), u"srtla://ÖFFENTLICHE-IP-EINTRAGEN:5000/live"_s);
        QCOMPARE(probe->obsAddressEdit()->text(), u"srt://127.0.0.1:5002?mode=listener&latency=2000&lossmaxttl=40"_s);
    }

    void startRunsTheReceiverAndStopEndsIt()
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

    void unusablePortTextsStartOnTheDefaultPorts()
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

    void startNeitherSavesNorRecomputesTheAddresses()
    {
        probe->publicHostEdit()->setText(u"host.example"_s);
        probe->moblinAddressEdit()->setText(u"unverändert"_s);
        fixture->dock->startReceiver();
        QCOMPARE(fixture->store.value(u"publicHost"_s).toString(), QString());
        QCOMPARE(probe->moblinAddressEdit()->text(), u"unverändert"_s);
    }

    void takenPortShowsFehlerAndTheMessageBoxAndLeavesStartEnabled()
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

    void startWorksOnceThePortIsFreeAgain()
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

    void statusIsFehlerWhileTheMessageBoxIsOpen()
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

    void startWithoutAutoSourceLeavesObsAlone()
    {
        fixture->dock->startReceiver();
        QVERIFY(ObsDouble::calls().isEmpty());
    }

    void startWithAutoSourceMakesTheSourceFirst()
    {
        probe->autoSourceCheck()->setChecked(true);
        fixture->dock->startReceiver();
        QVERIFY(ObsDouble::hasSource(u"Tarvoline SRTLA"_s));
        QCOMPARE(probe->logView()->toPlainText(),
                 u"OBS | Neue SRT-Quelle angelegt\nSTART | SRTLA UDP 5000 → SRT 127.0.0.1:5002"_s);
        QCOMPARE(ObsDouble::openReferences(), 0);
        QCOMPARE(ObsDouble::misuses(), QStringList());
    }

    void startWithAutoSourceAndNoSceneShowsTheOtherWarningAndStartsNothing()
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
        QCOMPARE(ObsDouble::openReferences(), 0);
    }

    void passphraseButtonHasThreeWords()
    {
        QCOMPARE(probe->showPasswordButton()->text(), u"Zeigen"_s);
        fixture->dock->togglePasswordVisibility();
        QCOMPARE(probe->passwordEdit()->echoMode(), QLineEdit::Normal);
        QCOMPARE(probe->showPasswordButton()->text(), u"Ausblenden"_s);
        fixture->dock->togglePasswordVisibility();
        QCOMPARE(probe->passwordEdit()->echoMode(), QLineEdit::Password);
        QCOMPARE(probe->showPasswordButton()->text(), u"Anzeigen"_s);
        fixture->dock->togglePasswordVisibility();
        QCOMPARE(probe->showPasswordButton()->text(), u"Ausblenden"_s);
    }

    void anyOtherEchoModeIsMaskedFirst()
    {
        probe->passwordEdit()->setEchoMode(QLineEdit::NoEcho);
        fixture->dock->togglePasswordVisibility();
        QCOMPARE(probe->passwordEdit()->echoMode(), QLineEdit::Password);
        QCOMPARE(probe->showPasswordButton()->text(), u"Anzeigen"_s);
    }

    void copiesThePassphraseWhileItIsMasked()
    {
        probe->passwordEdit()->setText(u"geheim12345"_s);
        QCOMPARE(probe->passwordEdit()->echoMode(), QLineEdit::Password);
        fixture->dock->copyPassword();
        QCOMPARE(QGuiApplication::clipboard()->text(), u"geheim12345"_s);
    }

    void copiesTheSenderAddress()
    {
        probe->publicHostEdit()->setText(u"203.0.113.7"_s);
        fixture->dock->copyMoblinAddress();
        QCOMPARE(QGuiApplication::clipboard()->text(), u"srtla://203.0.113.7:5000/live"_s);
    }

    void senderAddressIsItsOwnToolTip()
    {
        probe->publicHostEdit()->setText(u"203.0.113.7"_s);
        QCOMPARE(probe->moblinAddressEdit()->toolTip(), u"srtla://203.0.113.7:5000/live"_s);
        probe->passwordEdit()->setText(u"geheim12345"_s);
        QCOMPARE(probe->obsAddressEdit()->toolTip(), QString());
    }

    void toolTipTakesNoMarkupFromAnAddress()
    {
        probe->publicHostEdit()->setText(u"<b>fett</b>&amp;"_s);
        const QString toolTip = probe->moblinAddressEdit()->toolTip();
        QVERIFY(Qt::mightBeRichText(toolTip));
        QTextDocument document;
        document.setHtml(toolTip);
        QCOMPARE(document.toPlainText(), u"srtla://<b>fett</b>&amp;:5000/live"_s);
    }

    void emptyFieldsPutAnEmptyTextOnTheClipboard()
    {
        QGuiApplication::clipboard()->setText(u"vorher"_s);
        fixture->dock->copyPassword();
        QCOMPARE(QGuiApplication::clipboard()->text(), QString());

        QGuiApplication::clipboard()->setText(u"vorher"_s);
        probe->moblinAddressEdit()->clear();
        fixture->dock->copyMoblinAddress();
        QCOMPARE(QGuiApplication::clipboard()->text(), QString());
    }

private:
    std::optional<DockFixture> fixture;
    std::optional<DockProbe> probe;
};

QTEST_MAIN(TestDockReceiver)
#include "tst_dock_receiver.moc"
