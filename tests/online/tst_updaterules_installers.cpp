// SPDX-License-Identifier: GPL-2.0-or-later
#include "updaterules.h"

#include <QBuffer>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// SHA-256 of "abc": the example of FIPS 180-2.
const QString digestOfAbc = u"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"_s;

} // namespace

Q_DECLARE_METATYPE(InstallerVerdict)

class TestUpdateRulesInstallers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void limitsTheSize_data();
    void limitsTheSize();
    void checksTheDigest_data();
    void checksTheDigest();
    void checksTheSizeOfRealData();
    void fileNames_data();
    void fileNames();
};

void TestUpdateRulesInstallers::limitsTheSize_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<bool>("allowed");
    QTest::newRow("nothing") << qint64(0) << false;
    QTest::newRow("one byte") << qint64(1) << true;
    QTest::newRow("one byte less than the limit") << qint64(262143999) << true;
    QTest::newRow("the limit") << qint64(262144000) << true;
    QTest::newRow("one byte more") << qint64(262144001) << false;
    QTest::newRow("more than 32 bits") << qint64(0x100000001) << false;
    QTest::newRow("negative") << qint64(-1) << false;
}

void TestUpdateRulesInstallers::limitsTheSize()
{
    QFETCH(qint64, bytes);
    QFETCH(bool, allowed);
    QCOMPARE(isInstallerSize(bytes), allowed);
}

void TestUpdateRulesInstallers::checksTheDigest_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("sha256");
    QTest::addColumn<InstallerVerdict>("verdict");
    QTest::newRow("the announced bytes") << QByteArray("abc") << digestOfAbc << InstallerVerdict::Genuine;
    QTest::newRow("digest in upper case") << QByteArray("abc") << digestOfAbc.toUpper() << InstallerVerdict::Genuine;
    QTest::newRow("one bit changed") << QByteArray("abb") << digestOfAbc << InstallerVerdict::WrongDigest;
    QTest::newRow("one byte more") << QByteArray("abc\n") << digestOfAbc << InstallerVerdict::WrongDigest;
    QTest::newRow("one byte less") << QByteArray("ab") << digestOfAbc << InstallerVerdict::WrongDigest;
    QTest::newRow("one digit changed") << QByteArray("abc") << u'c' + digestOfAbc.mid(1)
                                       << InstallerVerdict::WrongDigest;
    QTest::newRow("digest cut off") << QByteArray("abc") << digestOfAbc.left(63) << InstallerVerdict::WrongDigest;
    QTest::newRow("no digest") << QByteArray("abc") << QString() << InstallerVerdict::WrongDigest;
    QTest::newRow("nothing, with the digest of nothing")
        << QByteArray() << u"e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"_s
        << InstallerVerdict::WrongSize;
}

void TestUpdateRulesInstallers::checksTheDigest()
{
    QFETCH(QByteArray, data);
    QFETCH(QString, sha256);
    QFETCH(InstallerVerdict, verdict);
    QCOMPARE(checkInstaller(data, sha256), verdict);

    QBuffer file(&data);
    QVERIFY(file.open(QIODevice::ReadOnly));
    if (verdict != InstallerVerdict::WrongSize) {
        QCOMPARE(hasDigest(file, sha256), verdict == InstallerVerdict::Genuine);
    }
}

void TestUpdateRulesInstallers::checksTheSizeOfRealData()
{
    // With a wrong digest: an allowed size results in the digest error.
    QByteArray data(262144000, 'x');
    QCOMPARE(checkInstaller(data, digestOfAbc), InstallerVerdict::WrongDigest);
    data.append('x');
    QCOMPARE(checkInstaller(data, digestOfAbc), InstallerVerdict::WrongSize);
}

void TestUpdateRulesInstallers::fileNames_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("name"); // empty: none
    const auto named = [](const QString &version) { return u"Tarvoline-SRTLA-Plugin-Setup-v%1.exe"_s.arg(version); };
    for (const QString &version :
         {u"1.0"_s, u"1.0-beta"_s, u"1.0 (neu)"_s, u"1.0 ü"_s, u"1.0.."_s, u"1.0 %1"_s, u"1.0\u2044x"_s}) {
        QTest::addRow("%s", qPrintable(version)) << version << named(version);
    }
    for (const QString &version : {u"1.0/x"_s, u"1.0/../../x"_s, u"1.0\\x"_s, u"1.0\\..\\x"_s, u"1.0:x"_s, u"1.0/"_s,
                                   u"1.0\\"_s, u"1.0:"_s, u"1:0"_s}) {
        QTest::addRow("%s", qPrintable(version)) << version << QString();
    }
}

void TestUpdateRulesInstallers::fileNames()
{
    QFETCH(QString, version);
    QFETCH(QString, name);
    QCOMPARE(installerFileName(version).value_or(QString()), name);
}

QTEST_GUILESS_MAIN(TestUpdateRulesInstallers)
#include "tst_updaterules_installers.moc"
