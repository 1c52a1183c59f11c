// SPDX-License-Identifier: GPL-2.0-or-later
#include "updatedecision.h"

#include "testkit/updatecheck.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace UpdateCheck;

namespace {

const QString installed = u"0.9.2"_s;

QJsonObject members(const QString &url, const QString &sha256, const QString &notes, const QString &mode)
{
    return {{u"download_url"_s, url}, {u"sha256"_s, sha256}, {u"release_notes"_s, notes}, {u"install_mode"_s, mode}};
}

UpdateDecision replacing(const QString &text, const QString &version = u"1.0"_s)
{
    return {.isAnswered = true,
            .text = text,
            .change = OfferChange::Replace,
            .offer = {.url = installerUrl(), .sha256 = digest, .version = version}};
}

UpdateDecision without(OfferChange change, const QString &text)
{
    return {.isAnswered = true, .text = text, .change = change};
}

} // namespace

Q_DECLARE_METATYPE(UpdateDecision)

class TestUpdateDecision : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void newerVersions_data();
    void newerVersions();
    void otherVersions_data();
    void otherVersions();
    void invalidBodies_data();
    void invalidBodies();
    void installedVersion();
};

void TestUpdateDecision::newerVersions_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<QJsonObject>("manifestMembers");
    QTest::addColumn<UpdateDecision>("decision");

    const QString url = installerUrl();
    const QString none;
    const QString notes(1500, u'n');
    const UpdateDecision refused = without(OfferChange::Withdraw, newText + notInstallableText);
    QTest::newRow("newer") << u"1.0"_s << members(url, digest, none, none) << replacing(newText);
    QTest::newRow("notes") << u"1.0"_s << members(url, digest, u"Eins\nZwei"_s, none)
                           << replacing(newText + u"\nEins\nZwei"_s);
    QTest::newRow("1000 characters of notes")
        << u"1.0"_s << members(url, digest, notes.left(1000), none) << replacing(newText + u'\n' + notes.left(1000));
    QTest::newRow("1500 characters of notes")
        << u"1.0"_s << members(url, digest, notes, none) << replacing(newText + u'\n' + notes.left(1000));
    QTest::newRow("digest in upper case")
        << u"1.0"_s << members(url, digest.toUpper(), none, none) << replacing(newText);
    QTest::newRow("mode") << u"1.0"_s << members(url, digest, none, u"installer_exe"_s) << replacing(newText);
    QTest::newRow("one more segment") << u"0.9.2.0"_s << members(url, digest, none, none)
                                      << replacing(u"Neue Version 0.9.2.0 verfügbar. Installiert ist 0.9.2."_s,
                                                   u"0.9.2.0"_s);
    QTest::newRow("suffix after the number")
        << u"1.0-beta"_s << members(url, digest, none, none)
        << replacing(u"Neue Version 1.0-beta verfügbar. Installiert ist 0.9.2."_s, u"1.0-beta"_s);
    QTest::newRow("placeholder") << u"1.0 %1 %2"_s << members(url, digest, u"%1 %2"_s, none)
                                 << replacing(u"Neue Version 1.0 %1 %2 verfügbar. Installiert ist 0.9.2.\n%1 %2"_s,
                                              u"1.0 %1 %2"_s);
    QTest::newRow("notes, not installable")
        << u"1.0"_s << members(none, digest, u"Eins"_s, none)
        << without(OfferChange::Withdraw, newText + u"\nEins"_s + notInstallableText);
    QTest::newRow("other host") << u"1.0"_s << members(u"https://other.example/setup.exe"_s, digest, none, none)
                                << refused;
    QTest::newRow("digest too short") << u"1.0"_s << members(url, digest.left(63), none, none) << refused;
    QTest::newRow("other mode") << u"1.0"_s << members(url, digest, none, u"zip"_s) << refused;
}

void TestUpdateDecision::newerVersions()
{
    QFETCH(QString, version);
    QFETCH(QJsonObject, manifestMembers);
    QFETCH(UpdateDecision, decision);
    const QByteArray body = manifest(version, manifestMembers);
    QCOMPARE(decideUpdate(body, installed, true), decision);
    QCOMPARE(decideUpdate(body, installed, false), decision);
}

void TestUpdateDecision::otherVersions_data()
{
    QTest::addColumn<QString>("offered");
    QTest::addColumn<QString>("installedVersion");
    QTest::addColumn<UpdateDecision>("manually");
    QTest::addColumn<UpdateDecision>("automatically");

    const UpdateDecision upToDate = without(OfferChange::Withdraw, upToDateText);
    const UpdateDecision quiet = without(OfferChange::Withdraw, installedText);
    const UpdateDecision unreadable = without(OfferChange::Hide, invalidVersionText);
    QTest::newRow("the same") << u"0.9.2"_s << installed << upToDate << quiet;
    QTest::newRow("older") << u"0.9.1"_s << installed << upToDate << quiet;
    QTest::newRow("no number") << u"abc"_s << installed << unreadable << unreadable;
    QTest::newRow("too great a number") << u"99999999999999999999"_s << installed << unreadable << unreadable;
    const UpdateDecision unreadableHere =
        without(OfferChange::Hide, u"Installierte Version: x\nUngültige Versionsangabe vom Server."_s);
    QTest::newRow("installed one unreadable") << u"1.0"_s << u"x"_s << unreadableHere << unreadableHere;
}

void TestUpdateDecision::otherVersions()
{
    QFETCH(QString, offered);
    QFETCH(QString, installedVersion);
    QFETCH(UpdateDecision, manually);
    QFETCH(UpdateDecision, automatically);
    const QByteArray body = installableManifest(offered);
    QCOMPARE(decideUpdate(body, installedVersion, true), manually);
    QCOMPARE(decideUpdate(body, installedVersion, false), automatically);
}

void TestUpdateDecision::invalidBodies_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("answered");
    QTest::newRow("nothing") << QByteArray() << false;
    QTest::newRow("page") << QByteArray("<html></html>") << false;
    QTest::newRow("array") << QByteArray("[{}]") << false;
    QTest::newRow("one byte too long") << installableManifest(u"1.0"_s) +
                                              QByteArray(65537 - installableManifest(u"1.0"_s).size(), ' ')
                                       << false;
    QTest::newRow("no version") << QByteArray("{}") << true;
    QTest::newRow("other product") << manifest(u"1.0"_s, {{u"product"_s, u"TARVOLINE-SRTLA"_s}}) << true;
}

void TestUpdateDecision::invalidBodies()
{
    QFETCH(QByteArray, body);
    QFETCH(bool, answered);
    const UpdateDecision expected{.isAnswered = answered, .text = invalidReplyText};
    QCOMPARE(expected.change, OfferChange::Keep);
    QCOMPARE(decideUpdate(body, installed, true), expected);
    QCOMPARE(decideUpdate(body, installed, false), expected);
}

void TestUpdateDecision::installedVersion()
{
    QCOMPARE(installedVersionText(installed), installedText);
}

QTEST_GUILESS_MAIN(TestUpdateDecision)
#include "tst_updatedecision.moc"
