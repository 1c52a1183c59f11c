// SPDX-License-Identifier: GPL-2.0-or-later
// The update check over a real network.
#include "dock/updatefixture.h"

#include "buildspec.h"

#include <QDateTime>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QProcess>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int waitMs = 60000;
const QString vendor = QString::fromUtf8(vendorHost);
const QString digest = u"0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef"_s;

const QString installedText = u"Installierte Version: 0.9.2"_s;
const QString upToDateText = u"Du hast die neueste Version. Installierte Version: 0.9.2"_s;
const QString searchingText = u"Suche nach einer neuen Version … (installiert: 0.9.2)"_s;
const QString invalidReplyText = u"Installierte Version: 0.9.2\nUngültige Antwort des Update-Servers."_s;
const QString invalidVersionText = u"Installierte Version: 0.9.2\nUngültige Versionsangabe vom Server."_s;
const QString impossibleText = u"Installierte Version: 0.9.2\nUpdateprüfung nicht möglich.\n"_s;
const QString newText = u"Neue Version 1.0 verfügbar. Installiert ist 0.9.2."_s;
const QString notInstallableText = u"\nDas Update kann aus Sicherheitsgründen nicht automatisch installiert werden."_s;

QString installerUrl()
{
    return u"https://%1/setup.exe"_s.arg(vendor);
}

QByteArray manifest(const QString &version, QJsonObject members = {})
{
    members.insert("latest_version"_L1, version);
    return QJsonDocument(members).toJson();
}

QByteArray installableManifest(const QString &version)
{
    return manifest(version, {{u"download_url"_s, installerUrl()}, {u"sha256"_s, digest}});
}

ServerAnswer redirect(const QString &target)
{
    return {.status = 302, .headers = {{u"Location"_s, target}}};
}

} // namespace

class TestDockUpdate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void isInertAsDelivered();
    void doesNothingAfterShutdown();
    void asksToTheLetter();
    void showsThatItSearches();
    void showsTheOutcome_data();
    void showsTheOutcome();
    void acceptsBodiesUpToTheLimit_data();
    void acceptsBodiesUpToTheLimit();
    void followsRedirects_data();
    void followsRedirects();
    void tellsFailures_data();
    void tellsFailures();
    void tellsAServerThatSaysNothing();
    void tellsAServerThatIsNotThere();
    void tellsACertificateThatNobodyKnows();
    void keepsFailuresOfAnAutomaticCheckQuiet();
    void evaluatesOffers_data();
    void evaluatesOffers();
    void keepsTheOfferWhenTheVersionIsUnreadable();
    void notesWhenItWasAnswered_data();
    void notesWhenItWasAnswered();
    void survivesTheDockBeingDestroyed();
    void readsTheManifestOfTheRealService();

private:
    static void check(UpdateFixture &fixture)
    {
        fixture.invoke("checkForUpdatesManually");
        QVERIFY(!fixture.checkButton->isEnabled());
        QTRY_VERIFY_WITH_TIMEOUT(fixture.checkButton->isEnabled(), waitMs);
        QTRY_COMPARE_WITH_TIMEOUT(fixture.network->openReplies(), 0, waitMs);
    }
};

void TestDockUpdate::initTestCase()
{
    QVERIFY2(HttpsServers().isUsable(), "run this through tests/support/withservers.py");
}

void TestDockUpdate::isInertAsDelivered()
{
    HttpsServers servers;
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
    QCOMPARE(servers.connections(), 0);
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

void TestDockUpdate::asksToTheLetter()
{
    UpdateFixture fixture;
    fixture.servers.answer(u"/update.json"_s, {.body = manifest(u"0.9.2"_s)});
    check(fixture);

    const QList<ServerRequest> requests = fixture.servers.requests();
    QCOMPARE(requests.size(), 1);
    QCOMPARE(requests.first().door, u"proxy"_s);
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
    QCOMPARE(request.attribute(QNetworkRequest::CacheLoadControlAttribute).toInt(),
             int(QNetworkRequest::AlwaysNetwork));
    QCOMPARE(request.rawHeaderList().size(), 3);
}

void TestDockUpdate::showsThatItSearches()
{
    UpdateFixture fixture;
    fixture.servers.answer(u"/update.json"_s, {.status = 0});
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
    QTest::newRow("older") << installableManifest(u"0.9.1"_s) << whole << upToDateText << false;
    QTest::newRow("unreadable version") << installableManifest(u"abc"_s) << whole << invalidVersionText << false;
    QTest::newRow("no version") << QByteArray("{}") << whole << invalidReplyText << false;
    QTest::newRow("other product") << manifest(u"1.0"_s, {{u"product"_s, u"TARVOLINE-SRTLA"_s}}) << whole
                                   << invalidReplyText << false;
    QTest::newRow("empty") << QByteArray() << whole << invalidReplyText << false;
    QTest::newRow("empty, in chunks") << QByteArray() << u"chunked"_s << invalidReplyText << false;
    QTest::newRow("array") << QByteArray("[{}]") << whole << invalidReplyText << false;
    QTest::newRow("page") << QByteArray("<html></html>") << whole << invalidReplyText << false;
}

void TestDockUpdate::showsTheOutcome()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, framing);
    QFETCH(QString, label);
    QFETCH(bool, offered);
    UpdateFixture fixture;
    fixture.servers.answer(u"/update.json"_s, {.body = body, .framing = framing});
    check(fixture);
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
    fixture.servers.answer(u"/update.json"_s,
                           {.body = body + QByteArray(bytes - body.size(), ' '), .framing = framing});
    check(fixture);
    QCOMPARE(fixture.label(), label);
}

void TestDockUpdate::followsRedirects_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("label");
    const auto untrusted = [](const QString &address) {
        return impossibleText + u"Unsichere oder unerwartete Zieladresse: "_s + address;
    };
    QTest::newRow("on the host") << u"https://%1/moved.json"_s.arg(vendor) << upToDateText;
    QTest::newRow("relative") << u"/moved.json"_s << upToDateText;
    QTest::newRow("to a subdomain") << u"https://files.%1/moved.json"_s.arg(vendor) << upToDateText;
    for (const QString &host : {u"evil%1"_s.arg(vendor), u"other.example"_s}) {
        const QString address = u"https://%1/moved.json"_s.arg(host);
        QTest::newRow(qPrintable(host)) << address << untrusted(address);
    }
}

void TestDockUpdate::followsRedirects()
{
    QFETCH(QString, address);
    QFETCH(QString, label);
    UpdateFixture fixture;
    fixture.servers.answer(u"/update.json"_s, redirect(address));
    fixture.servers.answer(u"/moved.json"_s, {.body = manifest(u"0.9.2"_s)});
    check(fixture);
    QCOMPARE(fixture.label(), label);
    QCOMPARE(fixture.servers.requests().size(), 2);
}

void TestDockUpdate::tellsFailures_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("location");
    QTest::addColumn<QString>("then");
    QTest::addColumn<QString>("detail");

    const QString none;
    const QString end = u"end"_s;
    const QByteArray good = installableManifest(u"1.0"_s);
    QTest::newRow("not found") << good << 404 << none << end << u"Serverantwort HTTP 404: ERROR"_s;
    QTest::newRow("too many requests") << good << 429 << none << end << u"Serverantwort HTTP 429: ERROR"_s;
    QTest::newRow("server error") << good << 500 << none << end << u"Serverantwort HTTP 500: ERROR"_s;
    QTest::newRow("unavailable, without body")
        << QByteArray() << 503 << none << end << u"Serverantwort HTTP 503: ERROR"_s;
    QTest::newRow("redirect to http") << QByteArray() << 302 << u"http://%1/update.json"_s.arg(vendor) << end
                                      << u"Unsichere oder unerwartete Zieladresse: http://%1/update.json"_s.arg(vendor);
    QTest::newRow("redirect without end")
        << QByteArray() << 302 << u"/update.json"_s << end << u"Serverantwort HTTP 302: ERROR"_s;
    QTest::newRow("redirect to an error elsewhere")
        << QByteArray() << 302 << u"https://other.example/none"_s << end
        << u"Unsichere oder unerwartete Zieladresse: https://other.example/none"_s;
    QTest::newRow("cut off") << good.left(20) << 200 << none << u"break"_s << u"Serverantwort HTTP 200: ERROR"_s;
}

void TestDockUpdate::tellsFailures()
{
    QFETCH(QByteArray, body);
    QFETCH(int, status);
    QFETCH(QString, location);
    QFETCH(QString, then);
    QFETCH(QString, detail);
    UpdateFixture fixture;
    const QStringList offer{u"https://a/b.exe"_s, digest, u"0.9.9"_s};
    fixture.setPending(offer);
    ServerAnswer answer{.status = status, .body = body, .then = then};
    answer.announced = then == u"break"_s ? body.size() + 20 : body.size();
    if (!location.isEmpty()) {
        answer.headers = {{u"Location"_s, location}};
    }
    fixture.servers.answer(u"/update.json"_s, answer);
    check(fixture);

    QVERIFY(!fixture.network->lastErrorText().isEmpty());
    QCOMPARE(fixture.label(), impossibleText + detail.replace("ERROR"_L1, fixture.network->lastErrorText()));
    QCOMPARE(fixture.pending(), offer);
    for (const ServerRequest &request : fixture.servers.requests()) {
        QCOMPARE(request.door, u"proxy"_s);
    }
}

void TestDockUpdate::tellsAServerThatSaysNothing()
{
    UpdateFixture fixture;
    fixture.servers.answer(u"/update.json"_s, {.status = 0});
    fixture.network->shortenTimeout(100ms);
    check(fixture);
    QCOMPARE(fixture.label(), impossibleText + u"Netzwerkfehler: "_s + fixture.network->lastErrorText());
}

void TestDockUpdate::tellsAServerThatIsNotThere()
{
    UpdateFixture fixture;
    // Nobody listens where something is sent away ("discard"); not in a test's own network at least.
    fixture.network->setProxy(QNetworkProxy(QNetworkProxy::HttpProxy, u"127.0.0.1"_s, 9));
    check(fixture);
    QCOMPARE(fixture.label(), impossibleText + u"Netzwerkfehler: "_s + fixture.network->lastErrorText());
}

void TestDockUpdate::tellsACertificateThatNobodyKnows()
{
    UpdateFixture fixture;
    fixture.servers.answer(u"/update.json"_s, {.body = installableManifest(u"1.0"_s)});
    fixture.network->trustNobody();
    check(fixture);
    QCOMPARE(fixture.label(), impossibleText + u"Netzwerkfehler: "_s + fixture.network->lastErrorText());
    QVERIFY(fixture.servers.requests().isEmpty());
}

void TestDockUpdate::keepsFailuresOfAnAutomaticCheckQuiet()
{
    UpdateFixture fixture;
    const auto answered = [&fixture](const QByteArray &body, int status) {
        fixture.servers.answer(u"/x"_s, {.status = status, .body = body});
        QNetworkReply *reply = fixture.network->get(QNetworkRequest(QUrl(u"https://%1/x"_s.arg(vendor))));
        QObject::connect(reply, &QNetworkReply::finished, fixture.dock.get(),
                         [&fixture, reply] { fixture.probe.handleUpdateReply(reply, false); });
        fixture.checkButton->setEnabled(false);
        [&] { QTRY_VERIFY_WITH_TIMEOUT(fixture.checkButton->isEnabled(), waitMs); }();
        return fixture.label();
    };
    QCOMPARE(answered({}, 500), installedText);
    QCOMPARE(answered(installableManifest(u"1.0"_s), 200), newText);
    QCOMPARE(answered(installableManifest(u"0.9.2"_s), 200), installedText);
    QCOMPARE(answered("[]", 200), invalidReplyText);
    QCOMPARE(answered(manifest(u"abc"_s), 200), invalidVersionText);
    QTRY_COMPARE_WITH_TIMEOUT(fixture.network->openReplies(), 0, waitMs);
}

void TestDockUpdate::evaluatesOffers_data()
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

void TestDockUpdate::evaluatesOffers()
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

void TestDockUpdate::keepsTheOfferWhenTheVersionIsUnreadable()
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

void TestDockUpdate::notesWhenItWasAnswered_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("noted");
    QTest::newRow("manifest") << 200 << manifest(u"1.0"_s) << true;
    QTest::newRow("other product") << 200 << manifest(u"1.0"_s, {{u"product"_s, u"other"_s}}) << true;
    QTest::newRow("object without members") << 200 << QByteArray("{}") << true;
    QTest::newRow("unreadable version") << 200 << manifest(u"abc"_s) << true;
    QTest::newRow("array") << 200 << QByteArray("[]") << false;
    QTest::newRow("no JSON") << 200 << QByteArray("{") << false;
    QTest::newRow("too long") << 200 << manifest(u"1.0"_s) + QByteArray(65536, ' ') << false;
    QTest::newRow("error") << 500 << manifest(u"1.0"_s) << false;
}

void TestDockUpdate::notesWhenItWasAnswered()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(bool, noted);
    UpdateFixture fixture;
    fixture.servers.answer(u"/update.json"_s, {.status = status, .body = body});
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    check(fixture);
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
    fixture.servers.answer(u"/update.json"_s, {.status = 0});
    fixture.invoke("checkForUpdatesManually");
    QTRY_COMPARE_WITH_TIMEOUT(fixture.servers.requests().size(), 1, waitMs);
    fixture.dock.reset();
    fixture.servers.reset();
    QTRY_VERIFY_WITH_TIMEOUT(fixture.network->sinceFinished().isValid(), waitMs);
}

void TestDockUpdate::readsTheManifestOfTheRealService()
{
    UpdateFixture fixture(u"serviceProxy"_s);
    const QString root = fixture.servers.text(u"serviceRoot"_s);
    if (root.isEmpty()) {
        QSKIP("the service runs on Linux only");
    }
    check(fixture);
    QCOMPARE(fixture.label(), impossibleText + u"Serverantwort HTTP 404: "_s + fixture.network->lastErrorText());

    QFile installer(root + u"/Setup-v1.2.3.exe"_s);
    QVERIFY(installer.open(QIODevice::WriteOnly));
    installer.write("MZ and more");
    installer.close();
    QFile notes(root + u"/notes.txt"_s);
    QVERIFY(notes.open(QIODevice::WriteOnly));
    notes.write("Schöner");
    notes.close();
    QProcess script;
    script.start(u"python3"_s, {fixture.servers.text(u"serviceScripts"_s) + u"/makemanifest.py"_s, u"1.2.3"_s,
                                installer.fileName(), u"--notes"_s, notes.fileName()});
    QVERIFY(script.waitForFinished(waitMs));
    QVERIFY2(script.exitCode() == 0, script.readAllStandardError().constData());

    check(fixture);
    QCOMPARE(fixture.label(), u"Neue Version 1.2.3 verfügbar. Installiert ist 0.9.2.\nSchöner"_s);
    QCOMPARE(fixture.probe.pendingUpdateUrl(), u"https://%1/Setup-v1.2.3.exe"_s.arg(vendor));
    QVERIFY(!fixture.installButton->isHidden());
}

QTEST_MAIN(TestDockUpdate)
#include "tst_dock_update.moc"
