// SPDX-License-Identifier: GPL-2.0-or-later
#include "updatemanifest.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// A valid manifest of exactly \a size bytes, filled up with release notes.
QByteArray manifestOfSize(qsizetype size)
{
    const QByteArray head = R"({"latest_version":"1.0","release_notes":")";
    const QByteArray tail = R"("})";
    return head + QByteArray(size - head.size() - tail.size(), 'n') + tail;
}

} // namespace

class TestUpdateManifest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void distinguishesObjectsFromOtherBodies_data();
    void distinguishesObjectsFromOtherBodies();
    void rejectsBodiesOverTheLimit_data();
    void rejectsBodiesOverTheLimit();
    void checksProductAndVersion_data();
    void checksProductAndVersion();
    void readsEveryMember();
    void trimsEveryMember();
    void treatsOtherTypesAsEmpty_data();
    void treatsOtherTypesAsEmpty();
};

void TestUpdateManifest::distinguishesObjectsFromOtherBodies_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("isObject");

    QTest::newRow("empty") << QByteArray() << false;
    QTest::newRow("white space") << QByteArray(" \n") << false;
    QTest::newRow("text") << QByteArray("<html>nothing here</html>") << false;
    QTest::newRow("array") << QByteArray(R"([{"latest_version":"1.0"}])") << false;
    QTest::newRow("string") << QByteArray(R"("1.0")") << false;
    QTest::newRow("number") << QByteArray("1") << false;
    QTest::newRow("null") << QByteArray("null") << false;
    QTest::newRow("cut off") << QByteArray(R"({"latest_version":"1.0")") << false;
    QTest::newRow("trailing comma") << QByteArray(R"({"latest_version":"1.0",})") << false;
    QTest::newRow("trailing character") << QByteArray(R"({"latest_version":"1.0"}x)") << false;
    QTest::newRow("two objects") << QByteArray(R"({"latest_version":"1.0"}{})") << false;
    QTest::newRow("invalid UTF-8") << QByteArray("{\"latest_version\":\"1.0\xff\"}") << false;
    QTest::newRow("object without members") << QByteArray("{}") << true;
    QTest::newRow("object") << QByteArray(R"({"latest_version":"1.0"})") << true;
    QTest::newRow("object in white space") << QByteArray("\r\n {\"latest_version\":\"1.0\"}\t\n") << true;
}

void TestUpdateManifest::distinguishesObjectsFromOtherBodies()
{
    QFETCH(QByteArray, body);
    QFETCH(bool, isObject);
    const ManifestReading reading = readUpdateManifest(body);
    QCOMPARE(reading.isJsonObject, isObject);
    if (!isObject) {
        QVERIFY(!reading.manifest);
    }
}

void TestUpdateManifest::rejectsBodiesOverTheLimit_data()
{
    QTest::addColumn<int>("bytes");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("one byte less") << 65535 << true;
    QTest::newRow("the limit") << 65536 << true;
    QTest::newRow("one byte more") << 65537 << false;
    QTest::newRow("much more") << 200000 << false;
}

void TestUpdateManifest::rejectsBodiesOverTheLimit()
{
    QFETCH(int, bytes);
    QFETCH(bool, accepted);
    const QByteArray body = manifestOfSize(bytes);
    QCOMPARE(body.size(), bytes);
    const ManifestReading reading = readUpdateManifest(body);
    QCOMPARE(reading.isJsonObject, accepted);
    QCOMPARE(reading.manifest.has_value(), accepted);
}

void TestUpdateManifest::checksProductAndVersion_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("accepted");

    QTest::newRow("no product") << QByteArray(R"({"latest_version":"1.0"})") << true;
    QTest::newRow("this product") << QByteArray(R"({"product":"tarvoline-srtla","latest_version":"1.0"})") << true;
    QTest::newRow("empty product") << QByteArray(R"({"product":"","latest_version":"1.0"})") << true;
    QTest::newRow("blank product") << QByteArray(R"({"product":" \t","latest_version":"1.0"})") << true;
    QTest::newRow("blanks around") << QByteArray(R"({"product":" tarvoline-srtla\n","latest_version":"1.0"})") << true;
    QTest::newRow("product no string") << QByteArray(R"({"product":7,"latest_version":"1.0"})") << true;
    QTest::newRow("upper case") << QByteArray(R"({"product":"TARVOLINE-SRTLA","latest_version":"1.0"})") << false;
    QTest::newRow("other product") << QByteArray(R"({"product":"tarvoline","latest_version":"1.0"})") << false;
    QTest::newRow("longer product") << QByteArray(R"({"product":"tarvoline-srtla-pro","latest_version":"1"})") << false;
    QTest::newRow("no version") << QByteArray(R"({"product":"tarvoline-srtla"})") << false;
    QTest::newRow("empty version") << QByteArray(R"({"latest_version":""})") << false;
    QTest::newRow("blank version") << QByteArray(R"({"latest_version":" \r\n"})") << false;
    QTest::newRow("version no string") << QByteArray(R"({"latest_version":1.0})") << false;
    QTest::newRow("upper-case key") << QByteArray(R"({"Latest_Version":"1.0"})") << false;
    QTest::newRow("unreadable version") << QByteArray(R"({"latest_version":"abc"})") << true;
    QTest::newRow("no members") << QByteArray("{}") << false;
}

void TestUpdateManifest::checksProductAndVersion()
{
    QFETCH(QByteArray, body);
    QFETCH(bool, accepted);
    const ManifestReading reading = readUpdateManifest(body);
    QVERIFY(reading.isJsonObject);
    QCOMPARE(reading.manifest.has_value(), accepted);
}

void TestUpdateManifest::readsEveryMember()
{
    const ManifestReading reading = readUpdateManifest(R"({"product":"tarvoline-srtla","latest_version":"1.0-beta",)"
                                                       R"("download_url":"https://a.example/b.exe",)"
                                                       R"("release_notes":"Eins\nZwei","sha256":"ab",)"
                                                       R"("install_mode":"installer_exe","more":[1]})");
    QVERIFY(reading.manifest);
    const UpdateManifest expected{.latestVersion = u"1.0-beta"_s,
                                  .downloadUrl = u"https://a.example/b.exe"_s,
                                  .releaseNotes = u"Eins\nZwei"_s,
                                  .sha256 = u"ab"_s,
                                  .installMode = u"installer_exe"_s};
    QCOMPARE(*reading.manifest, expected);
}

void TestUpdateManifest::trimsEveryMember()
{
    const ManifestReading reading = readUpdateManifest(R"({"latest_version":" 1.0\n","download_url":"\thttps://a/b\r",)"
                                                       R"("release_notes":"\n Eins \n Zwei \n","sha256":" ABCDEF\n",)"
                                                       R"("install_mode":" Installer_EXE "})");
    QVERIFY(reading.manifest);
    const UpdateManifest expected{.latestVersion = u"1.0"_s,
                                  .downloadUrl = u"https://a/b"_s,
                                  .releaseNotes = u"Eins \n Zwei"_s,
                                  .sha256 = u"abcdef"_s,
                                  .installMode = u"Installer_EXE"_s};
    QCOMPARE(*reading.manifest, expected);
}

void TestUpdateManifest::treatsOtherTypesAsEmpty_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("number") << QByteArray("12");
    QTest::newRow("boolean") << QByteArray("true");
    QTest::newRow("null") << QByteArray("null");
    QTest::newRow("array") << QByteArray(R"(["text"])");
    QTest::newRow("object") << QByteArray(R"({"text":"text"})");
}

void TestUpdateManifest::treatsOtherTypesAsEmpty()
{
    QFETCH(QByteArray, value);
    const ManifestReading reading =
        readUpdateManifest(R"({"latest_version":"1.0","download_url":)" + value + R"(,"release_notes":)" + value +
                           R"(,"sha256":)" + value + R"(,"install_mode":)" + value + "}");
    QVERIFY(reading.manifest);
    UpdateManifest expected;
    expected.latestVersion = u"1.0"_s;
    QCOMPARE(*reading.manifest, expected);
}

QTEST_GUILESS_MAIN(TestUpdateManifest)
#include "tst_updatemanifest.moc"
