// SPDX-License-Identifier: GPL-2.0-or-later
#include "updaterules.h"

#include "buildspec.h"

#include <QTest>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(VersionOrder)

class TestUpdateRulesOffers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ordersVersions_data();
    void ordersVersions();
    void installableOffers_data();
    void installableOffers();
};

void TestUpdateRulesOffers::ordersVersions_data()
{
    QTest::addColumn<QString>("offered");
    QTest::addColumn<QString>("installed");
    QTest::addColumn<VersionOrder>("order");

    const QString ours = u"0.9.2"_s;
    QTest::newRow("the same") << u"0.9.2"_s << ours << VersionOrder::SameOrOlder;
    QTest::newRow("older patch") << u"0.9.1"_s << ours << VersionOrder::SameOrOlder;
    QTest::newRow("fewer segments") << u"0.9"_s << ours << VersionOrder::SameOrOlder;
    QTest::newRow("zero") << u"0"_s << ours << VersionOrder::SameOrOlder;
    QTest::newRow("one more segment") << u"0.9.2.0"_s << ours << VersionOrder::Newer;
    QTest::newRow("newer patch") << u"0.9.3"_s << ours << VersionOrder::Newer;
    QTest::newRow("compared as numbers, not as text") << u"0.10"_s << ours << VersionOrder::Newer;
    QTest::newRow("leading zeros") << u"00.09.02"_s << ours << VersionOrder::SameOrOlder;
    QTest::newRow("major") << u"1"_s << ours << VersionOrder::Newer;
    QTest::newRow("text after the number") << u"1.0-beta"_s << ours << VersionOrder::Newer;
    QTest::newRow("text after the same number") << u"0.9.2-beta"_s << ours << VersionOrder::SameOrOlder;
    QTest::newRow("text directly after the same number") << u"0.9.2rc1"_s << ours << VersionOrder::SameOrOlder;
    QTest::newRow("trailing dot") << u"0.9.2."_s << ours << VersionOrder::SameOrOlder;
    QTest::newRow("no number") << u"abc"_s << ours << VersionOrder::Unreadable;
    QTest::newRow("empty") << u""_s << ours << VersionOrder::Unreadable;
    QTest::newRow("leading letter") << u"v1.0"_s << ours << VersionOrder::Unreadable;
    QTest::newRow("leading dot") << u".1"_s << ours << VersionOrder::Unreadable;
    QTest::newRow("leading minus") << u"-1.0"_s << ours << VersionOrder::Unreadable;
    QTest::newRow("greatest segment") << u"2147483647"_s << ours << VersionOrder::Newer;
    QTest::newRow("segment too great") << u"2147483648"_s << ours << VersionOrder::Unreadable;
    QTest::newRow("far too great") << u"99999999999999999999.1"_s << ours << VersionOrder::Unreadable;
    QTest::newRow("second segment too great") << u"0.99999999999999999999"_s << ours << VersionOrder::SameOrOlder;
    QTest::newRow("second segment too great after a newer one")
        << u"1.99999999999999999999"_s << ours << VersionOrder::Newer;
    QTest::newRow("installed unreadable") << u"1.0"_s << u"abc"_s << VersionOrder::Unreadable;
    QTest::newRow("installed empty") << u"1.0"_s << u""_s << VersionOrder::Unreadable;
    QTest::newRow("both unreadable") << u"x"_s << u"y"_s << VersionOrder::Unreadable;
}

void TestUpdateRulesOffers::ordersVersions()
{
    QFETCH(QString, offered);
    QFETCH(QString, installed);
    QFETCH(VersionOrder, order);
    QCOMPARE(compareVersions(offered, installed), order);
}

void TestUpdateRulesOffers::installableOffers_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("sha256");
    QTest::addColumn<QString>("installMode");
    QTest::addColumn<bool>("installable");

    const QString address = "https://"_L1 + QString::fromUtf8(vendorHost) + "/setup.exe"_L1;
    const QString digest = u"0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef"_s;
    const QString none;
    QTest::newRow("good") << address << digest << none << true;
    QTest::newRow("good, mode named") << address << digest << u"installer_exe"_s << true;
    QTest::newRow("mode in upper case") << address << digest << u"INSTALLER_EXE"_s << false;
    QTest::newRow("other mode") << address << digest << u"zip"_s << false;
    QTest::newRow("longer mode") << address << digest << u"installer_exe2"_s << false;
    QTest::newRow("63 digits") << address << digest.left(63) << none << false;
    QTest::newRow("65 digits") << address << digest + u'0' << none << false;
    QTest::newRow("no digest") << address << none << none << false;
    QTest::newRow("upper-case digits") << address << digest.toUpper() << none << false;
    QTest::newRow("one upper-case digit") << address << digest.left(63) + u'F' << none << false;
    QTest::newRow("a letter that is no digit") << address << digest.left(63) + u'g' << none << false;
    QTest::newRow("a digit of another script") << address << digest.left(63) + u'\u0663' << none << false;
    QTest::newRow("leading blank") << address << u' ' + digest << none << false;
    QTest::newRow("two lines") << address << digest + u'\n' + digest << none << false;
    QTest::newRow("no address") << none << digest << none << false;
    QTest::newRow("other host") << u"https://other.example/setup.exe"_s << digest << none << false;
}

void TestUpdateRulesOffers::installableOffers()
{
    QFETCH(QString, address);
    QFETCH(QString, sha256);
    QFETCH(QString, installMode);
    QFETCH(bool, installable);
    QCOMPARE(isInstallableOffer(address, sha256, installMode), installable);
}

QTEST_GUILESS_MAIN(TestUpdateRulesOffers)
#include "tst_updaterules_offers.moc"
