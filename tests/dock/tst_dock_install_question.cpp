// SPDX-License-Identifier: GPL-2.0-or-later
// The confirmation before an installer is downloaded.
#include "dock/installfixture.h"
#include "testkit/updatecheck.h"

#include <QApplication>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QStringList oldOffer{u"https://a/b.exe"_s, u"c"_s, u"1.0"_s};

} // namespace

class TestDockInstallQuestion : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void requiresACompleteOfferAndANetworkManager_data();
    void requiresACompleteOfferAndANetworkManager();
    void asksForConfirmation();
    void changesNothingWhenDeclined_data();
    void changesNothingWhenDeclined();
    void survivesTheDockBeingDestroyed_data();
    void survivesTheDockBeingDestroyed();
    void installsTheConfirmedVersion_data();
    void installsTheConfirmedVersion();
};

void TestDockInstallQuestion::initTestCase()
{
    QVERIFY2(HttpsServers().isUsable(), "run this test through testkit/withservers.py");
    // The message box is the only window here; closing it must not quit the application.
    QApplication::setQuitOnLastWindowClosed(false);
}

void TestDockInstallQuestion::requiresACompleteOfferAndANetworkManager_data()
{
    QTest::addColumn<QStringList>("offer");
    QTest::addColumn<bool>("network");
    QTest::newRow("no address") << QStringList{{}, u"b"_s, u"c"_s} << true;
    QTest::newRow("no digest") << QStringList{u"a"_s, {}, u"c"_s} << true;
    QTest::newRow("no version") << QStringList{u"a"_s, u"b"_s, {}} << true;
    QTest::newRow("nothing") << QStringList{{}, {}, {}} << true;
    QTest::newRow("no network") << oldOffer << false;
}

void TestDockInstallQuestion::requiresACompleteOfferAndANetworkManager()
{
    QFETCH(QStringList, offer);
    QFETCH(bool, network);
    InstallFixture fixture;
    fixture.setPending(offer);
    if (!network) {
        fixture.probe.networkManager() = nullptr;
    }
    const QString label = fixture.label();
    fixture.invoke("downloadAndInstallUpdate");
    QVERIFY(fixture.boxes.shown().isEmpty());
    QVERIFY(fixture.network->made().isEmpty());
    QCOMPARE(fixture.label(), label);
    QVERIFY(fixture.checkButton->isEnabled());
    QVERIFY(fixture.installButton->isEnabled());
}

void TestDockInstallQuestion::asksForConfirmation()
{
    InstallFixture fixture;
    fixture.setPending(oldOffer);
    QMessageBox::StandardButton defaultButton = QMessageBox::NoButton;
    fixture.boxes.answerWith([&defaultButton](QMessageBox &box) {
        defaultButton = box.standardButton(box.defaultButton());
        MessageBoxes::press(box, QMessageBox::No);
    });
    fixture.invoke("downloadAndInstallUpdate");
    QCOMPARE(fixture.boxes.shown().size(), 1);
    const ShownMessageBox box = fixture.boxes.shown().first();
    QCOMPARE(box.title, u"Update installieren"_s);
    QCOMPARE(box.text, u"Version 1.0 wird heruntergeladen und installiert.\n\nOBS wird danach geschlossen. Nicht "
                       "gespeicherte Änderungen solltest du vorher speichern. Fortfahren?"_s);
    QCOMPARE(box.icon, QMessageBox::Question);
    QCOMPARE(box.buttons, QMessageBox::Yes | QMessageBox::No);
    QCOMPARE(box.parent, fixture.dock.get());
    QCOMPARE(defaultButton, QMessageBox::No);
}

void TestDockInstallQuestion::changesNothingWhenDeclined_data()
{
    QTest::addColumn<bool>("escape");
    QTest::newRow("no") << false;
    QTest::newRow("escape") << true;
}

void TestDockInstallQuestion::changesNothingWhenDeclined()
{
    QFETCH(bool, escape);
    InstallFixture fixture;
    fixture.setPending(oldOffer);
    fixture.boxes.answerWith(
        [escape](QMessageBox &box) { escape ? box.reject() : MessageBoxes::press(box, QMessageBox::No); });
    const QString label = fixture.label();
    fixture.invoke("downloadAndInstallUpdate");
    QCOMPARE(fixture.boxes.shown().size(), 1);
    QCOMPARE(fixture.label(), label);
    QCOMPARE(fixture.pending(), oldOffer);
    QVERIFY(fixture.checkButton->isEnabled());
    QVERIFY(fixture.installButton->isEnabled());
    QVERIFY(fixture.network->made().isEmpty());
}

void TestDockInstallQuestion::survivesTheDockBeingDestroyed_data()
{
    QTest::addColumn<bool>("afterYes");
    QTest::newRow("while the question is open") << false;
    QTest::newRow("right after the answer") << true;
}

void TestDockInstallQuestion::survivesTheDockBeingDestroyed()
{
    QFETCH(bool, afterYes);
    InstallFixture fixture;
    fixture.setPending(oldOffer);
    fixture.boxes.answerWith([&fixture, afterYes](QMessageBox &box) {
        if (afterYes) {
            MessageBoxes::press(box, QMessageBox::Yes);
        }
        fixture.dock.reset();
    });
    fixture.dock->downloadAndInstallUpdate();
    QVERIFY(!fixture.dock);
    QCOMPARE(fixture.boxes.shown().size(), 1);
    QVERIFY(fixture.network->made().isEmpty());
}

void TestDockInstallQuestion::installsTheConfirmedVersion_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QStringList>("offerAfter");
    QTest::addColumn<bool>("whileDownloading");
    const QStringList newer{UpdateCheck::installerUrl(), UpdateCheck::digest, u"1.1"_s};
    for (const bool downloading : {false, true}) {
        const char *when = downloading ? "during the download" : "while the question is open";
        QTest::addRow("newer offer %s", when) << UpdateCheck::installableManifest(u"1.1"_s) << newer << downloading;
        QTest::addRow("offer withdrawn %s", when)
            << UpdateCheck::manifest(u"0.9.2"_s) << QStringList{{}, {}, {}} << downloading;
    }
}

void TestDockInstallQuestion::installsTheConfirmedVersion()
{
    QFETCH(QByteArray, answer);
    QFETCH(QStringList, offerAfter);
    QFETCH(bool, whileDownloading);
    InstallFixture fixture;
    const QByteArray asked = "the version that the user was asked about";
    fixture.setPending({fixture.address(u"/asked.exe"_s), fixture.sha256(asked), u"1.0"_s});
    // Without Content-Length the download lasts until the server closes the connection.
    fixture.servers.respond(u"/asked.exe"_s,
                            {.body = asked, .framing = u"close"_s, .then = whileDownloading ? u"stall"_s : u"end"_s});
    fixture.servers.respond(u"/setup.exe"_s, {.body = "the version that came later"});
    fixture.servers.respond(u"/update.json"_s, {.body = answer});
    const auto check = [&fixture] {
        fixture.invoke("checkForUpdatesManually");
        QTRY_VERIFY_WITH_TIMEOUT(fixture.checkButton->isEnabled(), waitMs);
    };
    fixture.boxes.answerWith([&](QMessageBox &box) {
        if (!whileDownloading) {
            check();
        }
        MessageBoxes::press(box, QMessageBox::Yes);
    });
    fixture.invoke("downloadAndInstallUpdate");
    if (whileDownloading) {
        check();
        fixture.servers.reset();
    }
    QCOMPARE(fixture.pending(), offerAfter);
    fixture.waitForTheNetwork();

    // The confirmed version is saved under its name; its start fails because the bytes are no program.
    QCOMPARE(fixture.label(), u"Der Installer konnte nicht gestartet werden."_s);
    QCOMPARE(fixture.savedFiles(), QStringList{u"Tarvoline-SRTLA-Plugin-Setup-v1.0.exe"_s});
    QCOMPARE(fixture.content(fixture.savedPath()), asked);
}

QTEST_MAIN(TestDockInstallQuestion)
#include "tst_dock_install_question.moc"
