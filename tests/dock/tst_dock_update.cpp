// SPDX-License-Identifier: GPL-2.0-or-later
// Update check over a real network.
#include "dock/updatefixture.h"
#include "testkit/updatecheck.h"

#include <QDateTime>
#include <QNetworkReply>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace UpdateCheck;
using namespace std::chrono_literals;

class TestDockUpdate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void isDisabledByDefault();
    void doesNothingAfterShutdown();
    void sendsTheExpectedRequest();
    void showsTheRunningCheck();
    void showsTheOutcome_data();
    void showsTheOutcome();
    void acceptsBodiesUpToTheLimit_data();
    void acceptsBodiesUpToTheLimit();
    void storesTheTimeOfTheResponse_data();
    void storesTheTimeOfTheResponse();
    void survivesTheDockBeingDestroyed();
    void readsTheManifestOfTheRealService();
};

void TestDockUpdate::initTestCase()
{
    QVERIFY2(HttpsServers().isUsable(), "run this test through testkit/withservers.py");
}

void TestDockUpdate::isDisabledByDefault()
{
    DockFixture fixture;
    const DockProbe probe = fixture.buildQuiet();
    QVERIFY(!probe.networkManager());
    QVERIFY(!probe.updateCheckButton());
    QVERIFY(!probe.installUpdateButton());
    probe.pendingUpdateUrl() = installerUrl();
    probe.pendingUpdateSha256() = digest;
    probe.pendingUpdateVersion() = u"1.0"_s;

    const auto children = fixture.dock->findChildren<QObject *>().size();
    QVERIFY(QMetaObject::invokeMethod(fixture.dock.get(), "checkForUpdatesManually"));
    QVERIFY(QMetaObject::invokeMethod(fixture.dock.get(), "downloadAndInstallUpdate"));
    QCoreApplication::processEvents();

    QCOMPARE(probe.versionLabel()->text(), installedText);
    QCOMPARE(fixture.dock->findChildren<QObject *>().size(), children);
    QVERIFY(fixture.dock->findChildren<QNetworkAccessManager *>().isEmpty());
    QVERIFY(fixture.boxes.shown().isEmpty());
    QVERIFY(!probe.networkManager());
}

void TestDockUpdate::doesNothingAfterShutdown()
{
    UpdateFixture fixture;
    fixture.dock->shutdown();
    fixture.invoke("checkForUpdatesManually");
    QVERIFY(fixture.checkButton->isEnabled());
    QCOMPARE(fixture.label(), installedText);
    QVERIFY(fixture.network->made().isEmpty());
}

void TestDockUpdate::sendsTheExpectedRequest()
{
    UpdateFixture fixture;
    fixture.servers.respond(u"/update.json"_s, {.body = manifest(u"0.9.2"_s)});
    fixture.check();

    const QList<ServerRequest> requests = fixture.servers.requests();
    QCOMPARE(requests.size(), 1);
    QCOMPARE(requests.first().endpoint, u"proxy"_s);
    QCOMPARE(requests.first().body, QByteArray());
    QVERIFY(requests.first().head.startsWith("GET /update.json HTTP/1.1\r\n"));
    const QByteArrayList expected{"",
                                  "\r",
                                  "accept: application/json\r",
                                  "cache-control: no-cache\r",
                                  "connection: Keep-Alive\r",
                                  "host: " + vendor.toLatin1() + "\r",
                                  "user-agent: Tarvoline-SRTLA/0.9.2\r"};
    QCOMPARE(headerLines(requests.first().head), expected);

    QCOMPARE(fixture.network->made().size(), 1);
    const QNetworkRequest request = fixture.network->made().first();
    QCOMPARE(request.url(), QUrl(u"https://%1/update.json"_s.arg(vendor)));
    QCOMPARE(request.transferTimeoutAsDuration(), 20000ms);
    QCOMPARE(request.attribute(QNetworkRequest::RedirectPolicyAttribute).toInt(),
             int(QNetworkRequest::NoLessSafeRedirectPolicy));
    QCOMPARE(request.attribute(QNetworkRequest::Http2AllowedAttribute), QVariant(false));
    QCOMPARE(request.attribute(QNetworkRequest::CacheLoadControlAttribute), QVariant(QNetworkRequest::AlwaysNetwork));
    QCOMPARE(request.rawHeaderList().size(), 3);
}

void TestDockUpdate::showsTheRunningCheck()
{
    UpdateFixture fixture;
    fixture.servers.respond(u"/update.json"_s, {.status = 0});
    fixture.invoke("checkForUpdatesManually");
    QTRY_COMPARE_WITH_TIMEOUT(fixture.servers.requests().size(), 1, waitMs);
    QCOMPARE(fixture.label(), searchingText);
    QVERIFY(!fixture.checkButton->isEnabled());
    QVERIFY(fixture.installButton->isEnabled());
    QVERIFY(fixture.installButton->isHidden());
}

void TestDockUpdate::showsTheOutcome_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("framing");
    QTest::addColumn<QString>("label");
    QTest::addColumn<bool>("offered");

    const QString whole = u"length"_s;
    QTest::newRow("newer") << installableManifest(u"1.0"_s) << whole << newText << true;
    QTest::newRow("newer, in chunks") << installableManifest(u"1.0"_s) << u"chunked"_s << newText << true;
    QTest::newRow("newer, until the end") << installableManifest(u"1.0"_s) << u"close"_s << newText << true;
    QTest::newRow("newer, without installer") << manifest(u"1.0"_s) << whole << newText + notInstallableText << false;
    QTest::newRow("the same") << installableManifest(u"0.9.2"_s) << whole << upToDateText << false;
    QTest::newRow("unreadable version") << installableManifest(u"abc"_s) << whole << invalidVersionText << false;
    QTest::newRow("empty") << QByteArray() << whole << invalidReplyText << false;
    QTest::newRow("empty, in chunks") << QByteArray() << u"chunked"_s << invalidReplyText << false;
}

void TestDockUpdate::showsTheOutcome()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, framing);
    QFETCH(QString, label);
    QFETCH(bool, offered);
    UpdateFixture fixture;
    fixture.servers.respond(u"/update.json"_s, {.body = body, .framing = framing});
    fixture.check();
    QCOMPARE(fixture.label(), label);
    QCOMPARE(!fixture.installButton->isHidden(), offered);
    const QStringList offer = offered ? QStringList{installerUrl(), digest, u"1.0"_s} : QStringList{{}, {}, {}};
    QCOMPARE(fixture.pending(), offer);
}

void TestDockUpdate::acceptsBodiesUpToTheLimit_data()
{
    QTest::addColumn<int>("bytes");
    QTest::addColumn<QString>("framing");
    QTest::addColumn<QString>("label");
    for (const QString &framing : {u"length"_s, u"chunked"_s}) {
        QTest::addRow("the limit, %s", qPrintable(framing)) << 65536 << framing << upToDateText;
        QTest::addRow("one byte more, %s", qPrintable(framing)) << 65537 << framing << invalidReplyText;
    }
}

void TestDockUpdate::acceptsBodiesUpToTheLimit()
{
    QFETCH(int, bytes);
    QFETCH(QString, framing);
    QFETCH(QString, label);
    UpdateFixture fixture;
    const QByteArray body = manifest(u"0.9.2"_s);
    fixture.servers.respond(u"/update.json"_s,
                            {.body = body + QByteArray(bytes - body.size(), ' '), .framing = framing});
    fixture.check();
    QCOMPARE(fixture.label(), label);
}

void TestDockUpdate::storesTheTimeOfTheResponse_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("noted");
    QTest::newRow("manifest") << 200 << manifest(u"1.0"_s) << true;
    QTest::newRow("other product") << 200 << manifest(u"1.0"_s, {{u"product"_s, u"other"_s}}) << true;
    QTest::newRow("array") << 200 << QByteArray("[]") << false;
    QTest::newRow("too long") << 200 << manifest(u"1.0"_s) + QByteArray(65536, ' ') << false;
    QTest::newRow("error") << 500 << manifest(u"1.0"_s) << false;
}

void TestDockUpdate::storesTheTimeOfTheResponse()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(bool, noted);
    UpdateFixture fixture;
    fixture.servers.respond(u"/update.json"_s, {.status = status, .body = body});
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    fixture.check();
    const qint64 after = QDateTime::currentSecsSinceEpoch();
    const QVariant value = fixture.probe.settings().value("lastUpdateCheckUtc");
    QCOMPARE(value.isValid(), noted);
    if (noted) {
        QVERIFY(value.toLongLong() >= before && value.toLongLong() <= after);
    }
}

void TestDockUpdate::survivesTheDockBeingDestroyed()
{
    UpdateFixture fixture;
    fixture.servers.respond(u"/update.json"_s, {.status = 0});
    fixture.invoke("checkForUpdatesManually");
    QTRY_COMPARE_WITH_TIMEOUT(fixture.servers.requests().size(), 1, waitMs);
    fixture.dock.reset();
    fixture.servers.reset();
    QTRY_VERIFY_WITH_TIMEOUT(fixture.network->sinceFinished().isValid(), waitMs);
}

void TestDockUpdate::readsTheManifestOfTheRealService()
{
    UpdateFixture fixture(u"serviceProxy"_s);
    if (fixture.servers.text(u"serviceRoot"_s).isEmpty()) {
        QSKIP("the service runs on Linux only");
    }
    fixture.check();
    QCOMPARE(fixture.label(), impossibleText + u"Serverantwort HTTP 404: "_s + fixture.network->lastErrorText());

    fixture.publish("MZ and more", "Schöner");

    fixture.check();
    QCOMPARE(fixture.label(), u"Neue Version 1.2.3 verfügbar. Installiert ist 0.9.2.\nSchöner"_s);
    QCOMPARE(fixture.probe.pendingUpdateUrl(), u"https://%1/Setup-v1.2.3.exe"_s.arg(vendor));
    QVERIFY(!fixture.installButton->isHidden());
}

QTEST_MAIN(TestDockUpdate)
#include "tst_dock_update.moc"
