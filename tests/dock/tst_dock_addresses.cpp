// SPDX-License-Identifier: GPL-2.0-or-later
// Connection addresses, passphrase button and clipboard.
#include "docktest.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QTextDocument>

using namespace Qt::StringLiterals;

class TestDockAddresses : public QuietDockTest
{
    Q_OBJECT

private Q_SLOTS:
    void senderAddressHasHostPortAndStreamId_data();
    void senderAddressHasHostPortAndStreamId();
    void obsUrlCarriesPortAndPassphraseAsTyped_data();
    void obsUrlCarriesPortAndPassphraseAsTyped();
    void addressesAreComputedAfterLoading();
    void passphraseButtonHasThreeTexts();
    void anyOtherEchoModeIsMaskedFirst();
    void copiesThePassphraseWhileItIsMasked();
    void copiesTheSenderAddress();
    void senderAddressIsItsOwnToolTip();
    void toolTipEscapesMarkupInTheAddress();
    void emptyFieldsCopyAnEmptyText();
};

void TestDockAddresses::senderAddressHasHostPortAndStreamId_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<QString>("port");
    QTest::addColumn<QString>("streamId");
    QTest::addColumn<QString>("address");
    QTest::newRow("address") << u"203.0.113.7"_s << u"5000"_s << u"live"_s << u"srtla://203.0.113.7:5000/live"_s;
    QTest::newRow("no host") << QString() << u"5000"_s << u"live"_s << u"srtla://ÖFFENTLICHE-IP-EINTRAGEN:5000/live"_s;
    QTest::newRow("blank host") << u" \t "_s << u"5000"_s << u"live"_s
                                << u"srtla://ÖFFENTLICHE-IP-EINTRAGEN:5000/live"_s;
    QTest::newRow("blanks around the host")
        << u"  my.host.example "_s << u"5000"_s << u"live"_s << u"srtla://my.host.example:5000/live"_s;
    QTest::newRow("stream id as typed") << u"h"_s << u"5000"_s << u" a b/c "_s << u"srtla://h:5000/ a b/c "_s;
    QTest::newRow("port as typed") << u"h"_s << u" abc"_s << u"live"_s << u"srtla://h: abc/live"_s;
    QTest::newRow("placeholders in the texts") << u"%2"_s << u"%3"_s << u"%1"_s << u"srtla://%2:%3/%1"_s;
}

void TestDockAddresses::senderAddressHasHostPortAndStreamId()
{
    QFETCH(QString, host);
    QFETCH(QString, port);
    QFETCH(QString, streamId);
    probe->publicHostEdit()->setText(host);
    probe->listenPortEdit()->setText(port);
    probe->streamIdEdit()->setText(streamId);
    QTEST(probe->moblinAddressEdit()->text(), "address");
}

void TestDockAddresses::obsUrlCarriesPortAndPassphraseAsTyped_data()
{
    QTest::addColumn<QString>("port");
    QTest::addColumn<QString>("password");
    QTest::addColumn<QString>("url");
    const QString tail = u"?mode=listener&latency=2000&lossmaxttl=40"_s;
    QTest::newRow("no password") << u"5002"_s << QString() << u"srt://127.0.0.1:5002"_s + tail;
    QTest::newRow("password") << u"5002"_s << u"abc"_s << u"srt://127.0.0.1:5002"_s + tail + u"&passphrase=abc"_s;
    QTest::newRow("port as typed") << u" x"_s << QString() << u"srt://127.0.0.1: x"_s + tail;
    QTest::newRow("password unencoded") << u"5002"_s << u" a&b=%20ä "_s
                                        << u"srt://127.0.0.1:5002"_s + tail + u"&passphrase= a&b=%20ä "_s;
    QTest::newRow("placeholders in the password")
        << u"5002"_s << u"%1"_s << u"srt://127.0.0.1:5002"_s + tail + u"&passphrase=%1"_s;
    QTest::newRow("blank password") << u"5002"_s << u" "_s << u"srt://127.0.0.1:5002"_s + tail + u"&passphrase= "_s;
    QTest::newRow("placeholders in the port")
        << u"%1"_s << u"abc"_s << u"srt://127.0.0.1:%1"_s + tail + u"&passphrase=abc"_s;
}

void TestDockAddresses::obsUrlCarriesPortAndPassphraseAsTyped()
{
    QFETCH(QString, port);
    QFETCH(QString, password);
    probe->targetPortEdit()->setText(port);
    probe->passwordEdit()->setText(password);
    QTEST(probe->obsAddressEdit()->text(), "url");
}

void TestDockAddresses::addressesAreComputedAfterLoading()
{
    QCOMPARE(probe->moblinAddressEdit()->text(), u"srtla://ÖFFENTLICHE-IP-EINTRAGEN:5000/live"_s);
    QCOMPARE(probe->obsAddressEdit()->text(), u"srt://127.0.0.1:5002?mode=listener&latency=2000&lossmaxttl=40"_s);
}

void TestDockAddresses::passphraseButtonHasThreeTexts()
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

void TestDockAddresses::anyOtherEchoModeIsMaskedFirst()
{
    probe->passwordEdit()->setEchoMode(QLineEdit::NoEcho);
    fixture->dock->togglePasswordVisibility();
    QCOMPARE(probe->passwordEdit()->echoMode(), QLineEdit::Password);
    QCOMPARE(probe->showPasswordButton()->text(), u"Anzeigen"_s);
}

void TestDockAddresses::copiesThePassphraseWhileItIsMasked()
{
    probe->passwordEdit()->setText(u"geheim12345"_s);
    QCOMPARE(probe->passwordEdit()->echoMode(), QLineEdit::Password);
    fixture->dock->copyPassword();
    QCOMPARE(QGuiApplication::clipboard()->text(), u"geheim12345"_s);
}

void TestDockAddresses::copiesTheSenderAddress()
{
    probe->publicHostEdit()->setText(u"203.0.113.7"_s);
    fixture->dock->copyMoblinAddress();
    QCOMPARE(QGuiApplication::clipboard()->text(), u"srtla://203.0.113.7:5000/live"_s);
}

void TestDockAddresses::senderAddressIsItsOwnToolTip()
{
    probe->publicHostEdit()->setText(u"203.0.113.7"_s);
    QCOMPARE(probe->moblinAddressEdit()->toolTip(), u"srtla://203.0.113.7:5000/live"_s);
    probe->passwordEdit()->setText(u"geheim12345"_s);
    QCOMPARE(probe->obsAddressEdit()->toolTip(), QString());
}

void TestDockAddresses::toolTipEscapesMarkupInTheAddress()
{
    probe->publicHostEdit()->setText(u"<b>fett</b>&amp;"_s);
    const QString toolTip = probe->moblinAddressEdit()->toolTip();
    QVERIFY(Qt::mightBeRichText(toolTip));
    QTextDocument document;
    document.setHtml(toolTip);
    QCOMPARE(document.toPlainText(), u"srtla://<b>fett</b>&amp;:5000/live"_s);
}

void TestDockAddresses::emptyFieldsCopyAnEmptyText()
{
    QGuiApplication::clipboard()->setText(u"vorher"_s);
    fixture->dock->copyPassword();
    QCOMPARE(QGuiApplication::clipboard()->text(), QString());

    QGuiApplication::clipboard()->setText(u"vorher"_s);
    probe->moblinAddressEdit()->clear();
    fixture->dock->copyMoblinAddress();
    QCOMPARE(QGuiApplication::clipboard()->text(), QString());
}

QTEST_MAIN(TestDockAddresses)
#include "tst_dock_addresses.moc"
