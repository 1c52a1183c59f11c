// SPDX-License-Identifier: GPL-2.0-or-later
// The question before an installer is downloaded, and what stands in the way of it.
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
    void needsAWholeOfferAndANetwork_data();
    void needsAWholeOfferAndANetwork();
    void asksTheUserFirst();
    void changesNothingWhenDeclined_data();
    void changesNothingWhenDeclined();
    void survivesTheDockBeingDestroyed_data();
    void survivesTheDockBeingDestroyed();
    void installsWhatTheUserWasAskedAbout_data();
    void installsWhatTheUserWasAskedAbout();
};

void TestDockInstallQuestion::initTestCase()
{
    QVERIFY2(HttpsServers().isUsable(), "run this through testkit/withservers.py");
    // In OBS there is a main window; here the question is the last window, and must not end the program.
    QApplication::setQuitOnLastWindowClosed(false);
}

void TestDockInstallQuestion::needsAWholeOfferAndANetwork_data()
{
    QTest::addColumn<QStringList>("offer");
    QTest::addColumn<bool>("network");
    QTest::newRow("no address") << QStringList{{}, u"b"_s, u"c"_s} << true;
    QTest::newRow("no digest") << QStringList{u"a"_s, {}, u"c"_s} << true;
    QTest::newRow("no version") << QStringList{u"a"_s, u"b"_s, {}} << true;
    QTest::newRow("nothing") << QStringList{{}, {}, {}} << true;
    QTest::newRow("no network") << oldOffer << false;
}

void TestDockInstallQuestion::needsAWholeOfferAndANetwork()
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

void TestDockInstallQuestion::asksTheUserFirst()
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
    QTest::newRow("in the same turn as the answer") << true;
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

void TestDockInstallQuestion::installsWhatTheUserWasAskedAbout_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QStringList>("offerAfter");
    QTest::addColumn<bool>("whileDownloading");
    const QStringList newer{UpdateCheck::installerUrl(), UpdateCheck::digest, u"1.1"_s};
    for (const bool downloading : {false, true}) {
        const char *when = downloading ? "while it downloads" : "while the question is open";
        QTest::addRow("a newer one comes %s", when)
            << UpdateCheck::installableManifest(u"1.1"_s) << newer << downloading;
        QTest::addRow("it is withdrawn %s", when)
            << UpdateCheck::manifest(u"0.9.2"_s) << QStringList{{}, {}, {}} << downloading;
    }
}

void TestDockInstallQuestion::installsWhatTheUserWasAskedAbout()
{
    QFETCH(QByteArray, answer);
    QFETCH(QStringList, offerAfter);
    QFETCH(bool, whileDownloading);
    InstallFixture fixture;
    const QByteArray asked = "the version that the user was asked about";
    fixture.setPending({fixture.address(u"/asked.exe"_s), fixture.sha256(asked), u"1.0"_s});
    // Without an announced length a download lasts until the server ends it.
    fixture.servers.answer(u"/asked.exe"_s,
                           {.body = asked, .framing = u"close"_s, .then = whileDownloading ? u"stall"_s : u"end"_s});
    fixture.servers.answer(u"/setup.exe"_s, {.body = "the version that came later"});
    fixture.servers.answer(u"/update.json"_s, {.body = answer});
    const auto check = [&fixture] {
        fixture.invoke("checkForUpdatesManually");
        QTRY_VERIFY_WITH_TIMEOUT(fixture.checkButton->isEnabled(), InstallFixture::waitMs);
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

    // What is saved is the version that was asked about, under its name; these bytes are no program, so that the road
    // ends at their start.
    QCOMPARE(fixture.label(), u"Der Installer konnte nicht gestartet werden."_s);
    QCOMPARE(fixture.savedFiles(), QStringList{u"Tarvoline-SRTLA-Plugin-Setup-v1.0.exe"_s});
    QCOMPARE(fixture.content(fixture.savedPath()), asked);
}

QTEST_MAIN(TestDockInstallQuestion)
#include "tst_dock_install_question.moc"
