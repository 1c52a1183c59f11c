// SPDX-License-Identifier: GPL-2.0-or-later
// What the panel makes of an offer that it was given.
#include "dock/updatecheck.h"
#include "dock/updatefixture.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace UpdateCheck;

class TestDockUpdateOffer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void evaluatesOffers_data();
    void evaluatesOffers();
    void keepsTheOfferWhenTheVersionIsUnreadable();
};

void TestDockUpdateOffer::evaluatesOffers_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("notes");
    QTest::addColumn<QString>("sha256");
    QTest::addColumn<QString>("mode");
    QTest::addColumn<bool>("manual");
    QTest::addColumn<QString>("label");
    QTest::addColumn<bool>("offered");

    const QString url = installerUrl();
    const QString none;
    const QString notes(1500, u'n');
    QTest::newRow("newer") << u"1.0"_s << url << none << digest << none << true << newText << true;
    QTest::newRow("newer, automatic") << u"1.0"_s << url << none << digest << none << false << newText << true;
    QTest::newRow("notes") << u"1.0"_s << url << u"Eins\nZwei"_s << digest << none << true
                           << newText + u"\nEins\nZwei"_s << true;
    QTest::newRow("1000 characters of notes")
        << u"1.0"_s << url << notes.left(1000) << digest << none << true << newText + u'\n' + notes.left(1000) << true;
    QTest::newRow("1500 characters of notes")
        << u"1.0"_s << url << notes << digest << none << true << newText + u'\n' + notes.left(1000) << true;
    QTest::newRow("notes, not installable") << u"1.0"_s << none << u"Eins"_s << digest << none << true
                                            << newText + u"\nEins"_s + notInstallableText << false;
    QTest::newRow("other host") << u"1.0"_s << u"https://other.example/setup.exe"_s << none << digest << none << true
                                << newText + notInstallableText << false;
    QTest::newRow("digest too short") << u"1.0"_s << url << none << digest.left(63) << none << false
                                      << newText + notInstallableText << false;
    QTest::newRow("other mode") << u"1.0"_s << url << none << digest << u"zip"_s << true << newText + notInstallableText
                                << false;
    QTest::newRow("mode") << u"1.0"_s << url << none << digest << u"installer_exe"_s << true << newText << true;
    QTest::newRow("one more segment") << u"0.9.2.0"_s << url << none << digest << none << true
                                      << u"Neue Version 0.9.2.0 verfügbar. Installiert ist 0.9.2."_s << true;
    QTest::newRow("text behind the version") << u"1.0-beta"_s << url << none << digest << none << true
                                             << u"Neue Version 1.0-beta verfügbar. Installiert ist 0.9.2."_s << true;
    QTest::newRow("place marks") << u"1.0 %1 %2"_s << url << u"%1 %2"_s << digest << none << true
                                 << u"Neue Version 1.0 %1 %2 verfügbar. Installiert ist 0.9.2.\n%1 %2"_s << true;
    QTest::newRow("the same") << u"0.9.2"_s << url << u"Eins"_s << digest << none << true << upToDateText << false;
    QTest::newRow("the same, automatic") << u"0.9.2"_s << url << none << digest << none << false << installedText
                                         << false;
    QTest::newRow("older") << u"0.9.1"_s << url << none << digest << none << true << upToDateText << false;
}

void TestDockUpdateOffer::evaluatesOffers()
{
    QFETCH(QString, version);
    QFETCH(QString, url);
    QFETCH(QString, notes);
    QFETCH(QString, sha256);
    QFETCH(QString, mode);
    QFETCH(bool, manual);
    QFETCH(QString, label);
    QFETCH(bool, offered);
    UpdateFixture fixture;
    fixture.setPending({u"https://a/b.exe"_s, u"c"_s, u"0.9.9"_s});
    fixture.installButton->setVisible(!offered);

    fixture.probe.evaluateUpdateInfo(version, url, notes, sha256, mode, manual);
    QCOMPARE(fixture.label(), label);
    QCOMPARE(!fixture.installButton->isHidden(), offered);
    const QStringList offer = offered ? QStringList{url, sha256, version} : QStringList{{}, {}, {}};
    QCOMPARE(fixture.pending(), offer);
}

void TestDockUpdateOffer::keepsTheOfferWhenTheVersionIsUnreadable()
{
    UpdateFixture fixture;
    const QStringList offer{u"https://a/b.exe"_s, digest, u"0.9.9"_s};
    fixture.setPending(offer);
    for (const QString &version : {u"abc"_s, u""_s, u"99999999999999999999"_s}) {
        for (const bool manual : {false, true}) {
            fixture.installButton->setVisible(true);
            fixture.probe.evaluateUpdateInfo(version, installerUrl(), u"Eins"_s, digest, {}, manual);
            QCOMPARE(fixture.label(), invalidVersionText);
            QVERIFY(fixture.installButton->isHidden());
            QCOMPARE(fixture.pending(), offer);
        }
    }
}

QTEST_MAIN(TestDockUpdateOffer)
#include "tst_dock_update_offer.moc"
