// SPDX-License-Identifier: GPL-2.0-or-later
// Redirects and failures of the update check.
#include "dock/updatefixture.h"
#include "testkit/updatecheck.h"

#include <QNetworkProxy>
#include <QNetworkReply>
#include <QTest>
#include <QUrl>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace UpdateCheck;
using namespace std::chrono_literals;

namespace {

/// The addresses of \a requests in order. Immediate repetitions count once: Qt repeats a request by itself when the
/// connection is closed before the response.
QList<QUrl> requestedAddresses(const QList<ServerRequest> &requests)
{
    const QByteArray hostName = "host: ";
    QList<QUrl> addresses;
    for (const ServerRequest &request : requests) {
        const QByteArray target = request.head.split(' ').value(1);
        for (const QByteArray &line : headerLines(request.head)) {
            if (line.startsWith(hostName)) {
                const QByteArray host = line.sliced(hostName.size()).trimmed();
                addresses.append(QUrl(QString::fromLatin1("https://" + host + target)));
            }
        }
    }
    addresses.erase(std::ranges::unique(addresses).begin(), addresses.end());
    return addresses;
}

} // namespace

class TestDockUpdateFailures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void followsRedirects_data();
    void followsRedirects();
    void reportsFailures_data();
    void reportsFailures();
    void reportsATimeout();
    void reportsAnUnreachableServer();
    void reportsAnUntrustedCertificate();
    void hidesFailuresOfAnAutomaticCheck();
};

void TestDockUpdateFailures::initTestCase()
{
    QVERIFY2(HttpsServers().isUsable(), "run this test through testkit/withservers.py");
}

void TestDockUpdateFailures::followsRedirects_data()
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

void TestDockUpdateFailures::followsRedirects()
{
    QFETCH(QString, address);
    QFETCH(QString, label);
    UpdateFixture fixture;
    fixture.servers.respond(u"/update.json"_s, redirectTo(address));
    fixture.servers.respond(u"/moved.json"_s, {.body = manifest(u"0.9.2"_s)});
    fixture.check();
    QCOMPARE(fixture.label(), label);
    const QUrl first(u"https://%1/update.json"_s.arg(vendor));
    QCOMPARE(fixture.network->made().size(), 1);
    QCOMPARE(requestedAddresses(fixture.servers.requests()), (QList<QUrl>{first, first.resolved(QUrl(address))}));
}

void TestDockUpdateFailures::reportsFailures_data()
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

void TestDockUpdateFailures::reportsFailures()
{
    QFETCH(QByteArray, body);
    QFETCH(int, status);
    QFETCH(QString, location);
    QFETCH(QString, then);
    QFETCH(QString, detail);
    UpdateFixture fixture;
    const QStringList offer{u"https://a/b.exe"_s, digest, u"0.9.9"_s};
    fixture.setPending(offer);
    ServerResponse answer{.status = status, .body = body, .then = then};
    answer.announced = then == u"break"_s ? body.size() + 20 : body.size();
    if (!location.isEmpty()) {
        answer.headers = {{u"Location"_s, location}};
    }
    fixture.servers.respond(u"/update.json"_s, answer);
    fixture.check();

    QVERIFY(!fixture.network->lastErrorText().isEmpty());
    QCOMPARE(fixture.label(), impossibleText + detail.replace("ERROR"_L1, fixture.network->lastErrorText()));
    QCOMPARE(fixture.pending(), offer);
    for (const ServerRequest &request : fixture.servers.requests()) {
        QCOMPARE(request.endpoint, u"proxy"_s);
    }
}

void TestDockUpdateFailures::reportsATimeout()
{
    UpdateFixture fixture;
    fixture.servers.respond(u"/update.json"_s, {.status = 0});
    fixture.network->shortenTimeout(100ms);
    fixture.check();
    QCOMPARE(fixture.label(), impossibleText + u"Netzwerkfehler: "_s + fixture.network->lastErrorText());
}

void TestDockUpdateFailures::reportsAnUnreachableServer()
{
    UpdateFixture fixture;
    // Port 9 ("discard") has no listener in the test's network namespace.
    fixture.network->setProxy(QNetworkProxy(QNetworkProxy::HttpProxy, u"127.0.0.1"_s, 9));
    fixture.check();
    QCOMPARE(fixture.label(), impossibleText + u"Netzwerkfehler: "_s + fixture.network->lastErrorText());
}

void TestDockUpdateFailures::reportsAnUntrustedCertificate()
{
    UpdateFixture fixture;
    fixture.servers.respond(u"/update.json"_s, {.body = installableManifest(u"1.0"_s)});
    fixture.network->trustNone();
    fixture.check();
    QCOMPARE(fixture.label(), impossibleText + u"Netzwerkfehler: "_s + fixture.network->lastErrorText());
    QVERIFY(fixture.servers.requests().isEmpty());
}

void TestDockUpdateFailures::hidesFailuresOfAnAutomaticCheck()
{
    UpdateFixture fixture;
    const auto labelAfter = [&fixture](const QByteArray &body, int status) {
        fixture.servers.respond(u"/x"_s, {.status = status, .body = body});
        QNetworkReply *reply = fixture.network->get(QNetworkRequest(QUrl(u"https://%1/x"_s.arg(vendor))));
        QObject::connect(reply, &QNetworkReply::finished, fixture.dock.get(),
                         [&fixture, reply] { fixture.probe.handleUpdateReply(reply, false); });
        fixture.checkButton->setEnabled(false);
        [&] { QTRY_VERIFY_WITH_TIMEOUT(fixture.checkButton->isEnabled(), waitMs); }();
        return fixture.label();
    };
    QCOMPARE(labelAfter({}, 500), installedText);
    QCOMPARE(labelAfter(installableManifest(u"1.0"_s), 200), newText);
    QCOMPARE(labelAfter(installableManifest(u"0.9.2"_s), 200), installedText);
    QCOMPARE(labelAfter("[]", 200), invalidReplyText);
    QCOMPARE(labelAfter(manifest(u"abc"_s), 200), invalidVersionText);
    QTRY_COMPARE_WITH_TIMEOUT(fixture.network->openReplies(), 0, waitMs);
}

QTEST_MAIN(TestDockUpdateFailures)
#include "tst_dock_update_failures.moc"
