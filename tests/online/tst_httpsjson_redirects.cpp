// SPDX-License-Identifier: GPL-2.0-or-later
// Redirects of the JSON exchange.
#include "jsonexchange.h"

#include <QTest>

using namespace HttpsJson;
using namespace Qt::StringLiterals;

class TestHttpsJsonRedirects : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void followsRedirects_data();
    void followsRedirects();
    void keepsCookiesOverRedirects();
    void followsNoRedirectToHttp_data();
    void followsNoRedirectToHttp();
    void followsTenRedirects();
};

void TestHttpsJsonRedirects::initTestCase()
{
    QVERIFY2(JsonService::port(u"https"_s) != 0, "run this test through testkit/withjsonservice.py");
}

void TestHttpsJsonRedirects::followsRedirects_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("method");
    QTest::addColumn<QString>("body");

    QTest::newRow("301 becomes GET") << 301 << u"GET"_s << QString();
    QTest::newRow("302 becomes GET") << 302 << u"GET"_s << QString();
    QTest::newRow("303 becomes GET") << 303 << u"GET"_s << QString();
    QTest::newRow("307 stays POST") << 307 << u"POST"_s << u"{\"a\":1}"_s;
    QTest::newRow("308 stays POST") << 308 << u"POST"_s << u"{\"a\":1}"_s;
}

void TestHttpsJsonRedirects::followsRedirects()
{
    QFETCH(int, status);
    QFETCH(QString, method);
    QFETCH(QString, body);
    const QString path = u"/redirect/%1?"_s.arg(status) + urlAt(u"https"_s, u"/echo/target"_s);
    const HttpsJsonReply reply = exchangeJson(urlAt(u"https"_s, path), R"({"a":1})");
    expectFailureUnderWine({"301 becomes GET", "302 becomes GET"}, "Wine cannot turn a POST with a body into a GET");
    expectFailureUnderWine({"303 becomes GET", "308 stays POST"}, "Wine does not follow this status");
    QCOMPARE(reply.httpStatus, 200);
    QCOMPARE(reply.object["target"_L1].toString(), u"/echo/target"_s);
    QCOMPARE(reply.object["method"_L1].toString(), method);
    QCOMPARE(reply.object["body"_L1].toString(), body);
    QCOMPARE(headerValues(reply.object, u"User-Agent"_s), QStringList{u"Tarvoline-OBS-Plugin/0.8.7"_s});
}

void TestHttpsJsonRedirects::keepsCookiesOverRedirects()
{
    QCOMPARE(headerValues(echoOf(u"/cookie"_s), u"Cookie"_s), QStringList{u"session=1"_s});
}

void TestHttpsJsonRedirects::followsNoRedirectToHttp_data()
{
    QTest::addColumn<int>("status");
    for (const int status : {301, 302, 303, 307, 308}) {
        QTest::addRow("%d", status) << status;
    }
}

void TestHttpsJsonRedirects::followsNoRedirectToHttp()
{
    QFETCH(int, status);
    const int before = JsonService::connections(u"http"_s);
    const QString target = u"http://localhost:%1/echo"_s.arg(JsonService::port(u"http"_s));
    const HttpsJsonReply reply = exchangeJson(urlAt(u"https"_s, u"/redirect/%1?"_s.arg(status) + target), "{}");
    QCOMPARE(JsonService::connections(u"http"_s), before);
    expectFailureUnderWine({"303", "308"}, "Wine does not follow this status");
    QCOMPARE(reply.object, unreachable(redirectRefused));
    QCOMPARE(reply.httpStatus, 0);
}

void TestHttpsJsonRedirects::followsTenRedirects()
{
    QCOMPARE(echoOf(u"/countdown/10"_s)["target"_L1].toString(), u"/countdown/0"_s);
    QCOMPARE(echoOf(u"/countdown/11"_s), unreachable(tooManyRedirects));
}

QTEST_GUILESS_MAIN(TestHttpsJsonRedirects)
#include "tst_httpsjson_redirects.moc"
