// SPDX-License-Identifier: GPL-2.0-or-later
// The question before an installer is downloaded, and what stands in the way of it.
#include "dock/installfixture.h"

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
};

void TestDockInstallQuestion::initTestCase()
{
    QVERIFY2(HttpsServers().isUsable(), "run this through tests/support/withservers.py");
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

QTEST_MAIN(TestDockInstallQuestion)
#include "tst_dock_install_question.moc"
