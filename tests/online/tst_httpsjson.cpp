// SPDX-License-Identifier: GPL-2.0-or-later
// The JSON exchange with a real TLS server (withjsonservice.py), for the built transport.
#include "jsonexchange.h"

#include <QTest>

using namespace HttpsJson;
using namespace Qt::StringLiterals;

class TestHttpsJson : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void sendsTheExpectedRequest();
    void sendsBodiesUnchanged_data();
    void sendsBodiesUnchanged();
    void sendsTheObjectName_data();
    void sendsTheObjectName();
    void readsReplies_data();
    void readsReplies();
    void readsLargeReplies();
    void reportsFailures_data();
    void reportsFailures();
    void opensNoConnection_data();
    void opensNoConnection();
    void exchangesShareNoState();
};

void TestHttpsJson::initTestCase()
{
    QVERIFY2(JsonService::port(u"https"_s) != 0, "run this test through testkit/withjsonservice.py");
}

void TestHttpsJson::sendsTheExpectedRequest()
{
    const QByteArray body = R"({"action":"ip"})";
    const QJsonObject request = echoOf(u"/echo"_s, body);
    QCOMPARE(request["method"_L1].toString(), u"POST"_s);
    QCOMPARE(request["target"_L1].toString(), u"/echo"_s);
    QCOMPARE(request["version"_L1].toString(), u"HTTP/1.1"_s);
    QCOMPARE(request["body"_L1].toString(), QString::fromUtf8(body));
    QCOMPARE(headerValues(request, u"Content-Type"_s), QStringList{u"application/json"_s});
    QCOMPARE(headerValues(request, u"Accept"_s), QStringList{u"application/json"_s});
    QCOMPARE(headerValues(request, u"User-Agent"_s), QStringList{u"Tarvoline-OBS-Plugin/0.8.7"_s});
    QCOMPARE(headerValues(request, u"Content-Length"_s), QStringList{QString::number(body.size())});
    QCOMPARE(headerValues(request, u"Host"_s), QStringList{u"localhost:%1"_s.arg(JsonService::port(u"https"_s))});
    for (const QString &absent :
         {u"Expect"_s, u"Accept-Encoding"_s, u"Transfer-Encoding"_s, u"Cookie"_s, u"Referer"_s, u"Authorization"_s}) {
        QCOMPARE(headerValues(request, absent), QStringList());
    }
}

void TestHttpsJson::sendsBodiesUnchanged_data()
{
    constexpr qsizetype longerThanAnyBuffer = 2 * 1024 * 1024;
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("umlauts") << QByteArray(R"({"name":"Grüße"})");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("2 MB") << QByteArray(longerThanAnyBuffer, 'x');
}

void TestHttpsJson::sendsBodiesUnchanged()
{
    QFETCH(QByteArray, body);
    const QJsonObject request = echoOf(u"/echo"_s, body);
    QCOMPARE(request["method"_L1].toString(), u"POST"_s);
    QVERIFY(request["body"_L1].toString().toUtf8() == body);
    QCOMPARE(headerValues(request, u"Content-Length"_s), QStringList{QString::number(body.size())});
    QCOMPARE(headerValues(request, u"Expect"_s), QStringList());
}

void TestHttpsJson::sendsTheObjectName_data()
{
    QTest::addColumn<QString>("objectName");
    QTest::addColumn<QString>("received");

    QTest::newRow("path") << u"/echo/a.php"_s << u"/echo/a.php"_s;
    QTest::newRow("no path") << QString() << u"/"_s;
    QTest::newRow("query") << u"/echo?a=b&c"_s << u"/echo?a=b&c"_s;
    QTest::newRow("query without path") << u"?a"_s << u"/?a"_s;
    QTest::newRow("umlauts in the path") << u"/echo/grüße"_s << u"/echo/gr%C3%BC%C3%9Fe"_s;
    QTest::newRow("umlauts in the query") << u"/echo?n=grüße"_s << u"/echo?n=gr%C3%BC%C3%9Fe"_s;
    QTest::newRow("blanks") << u"/echo/a b?c d"_s << u"/echo/a%20b?c%20d"_s;
    QTest::newRow("encoded delimiters") << u"/echo/a%2Fb?n=%26"_s << u"/echo/a%2Fb?n=%26"_s;
    QTest::newRow("unsafe characters") << u"/echo?a=<\"{|}\\^`>"_s << u"/echo?a=%3C%22%7B%7C%7D%5C%5E%60%3E"_s;
    QTest::newRow("dot segments") << u"/echo/a/../b/./c"_s << u"/echo/a/../b/./c"_s;
    QTest::newRow("fragment") << u"/echo#a"_s << u"/echo"_s;
}

void TestHttpsJson::sendsTheObjectName()
{
    QFETCH(QString, objectName);
    QFETCH(QString, received);
    QCOMPARE(echoOf(objectName)["target"_L1].toString(), received);
}

void TestHttpsJson::readsReplies_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("status");
    QTest::addColumn<QJsonObject>("object");

    const QByteArray none = "{}";
    QTest::newRow("object, 200") << u"/status/200"_s << none << 200 << servedObject();
    QTest::newRow("object, 404") << u"/status/404"_s << none << 404 << servedObject();
    QTest::newRow("object, 500") << u"/status/500"_s << none << 500 << servedObject();
    QTest::newRow("chunked") << u"/chunked"_s << none << 200 << servedObject();
    QTest::newRow("interim response first") << u"/interim"_s << none << 200 << servedObject();
    QTest::newRow("empty") << u"/literal"_s << QByteArray() << 200 << noJson(200);
    QTest::newRow("cut off before the body") << u"/cut/nothing"_s << none << 200 << noJson(200);
    QTest::newRow("cut off in the body") << u"/cut/middle"_s << none << 200 << noJson(200);
    QTest::newRow("cut off after the object") << u"/cut/object"_s << none << 200 << servedObject();
}

void TestHttpsJson::readsReplies()
{
    QFETCH(QString, path);
    QFETCH(QByteArray, body);
    QFETCH(int, status);
    QFETCH(QJsonObject, object);
    const HttpsJsonReply reply = exchangeJson(urlAt(u"https"_s, path), body);
    expectFailureUnderWine({"interim response first"}, "Wine takes an interim response for an invalid one");
    QCOMPARE(reply.object, object);
    QCOMPARE(reply.httpStatus, status);
}

void TestHttpsJson::readsLargeReplies()
{
    constexpr qsizetype textLength = 3 * 1024 * 1024;
    const HttpsJsonReply reply = exchangeJson(urlAt(u"https"_s, u"/big"_s), "{}");
    QCOMPARE(reply.httpStatus, 200);
    QCOMPARE(reply.object.keys(), QStringList{u"text"_s});
    QVERIFY(reply.object["text"_L1].toString() == QString(textLength, u'x'));
}

void TestHttpsJson::reportsFailures_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QJsonObject>("object");

    QTest::newRow("refused connection") << urlAt(u"refused"_s, u"/echo"_s) << unreachable(cannotConnect);
    QTest::newRow("name that does not resolve") << u"https://nowhere.invalid/echo"_s << unreachable(nameNotResolved);
    QTest::newRow("certificate of another host") << urlAt(u"otherHost"_s, u"/echo"_s) << unreachable(badCertificate);
    QTest::newRow("expired certificate") << urlAt(u"expired"_s, u"/echo"_s) << unreachable(badCertificate);
    QTest::newRow("unknown authority") << urlAt(u"stranger"_s, u"/echo"_s) << unreachable(badCertificate);
    QTest::newRow("closed without a response") << urlAt(u"https"_s, u"/cut"_s) << unreachable(brokenOff);
    QTest::newRow("closed after an interim response") << urlAt(u"https"_s, u"/cut/interim"_s) << unreachable(brokenOff);
    QTest::newRow("cut off in the headers") << urlAt(u"https"_s, u"/cut/headers"_s) << unreachable(brokenOff);
}

void TestHttpsJson::reportsFailures()
{
    QFETCH(QString, url);
    QFETCH(QJsonObject, object);
    const HttpsJsonReply reply = exchangeJson(url, "{}");
    expectFailureUnderWine({"cut off in the headers"}, "Wine takes half a header for the end of all headers");
    QCOMPARE(reply.object, object);
    QCOMPARE(reply.httpStatus, 0);
}

void TestHttpsJson::opensNoConnection_data()
{
    QTest::addColumn<QString>("url");
    QTest::newRow("plain http") << u"http://localhost:%1/echo"_s.arg(JsonService::port(u"http"_s));
    QTest::newRow("plain http at the TLS port") << u"http://localhost:%1/echo"_s.arg(JsonService::port(u"https"_s));
    QTest::newRow("no scheme") << u"localhost:%1/echo"_s.arg(JsonService::port(u"https"_s));
    QTest::newRow("unparsable host") << u"https://local host:%1/echo"_s.arg(JsonService::port(u"https"_s));
    QTest::newRow("unparsable port") << u"https://localhost:%1x/echo"_s.arg(JsonService::port(u"https"_s));
}

void TestHttpsJson::opensNoConnection()
{
    QFETCH(QString, url);
    const auto all = [] { return JsonService::control()["connections"_L1].toObject(); };
    QJsonObject before = all();
    const HttpsJsonReply reply = exchangeJson(url, "{}");
    QCOMPARE(reply.object, failure(u"Ungültige Server-Adresse."_s));
    QCOMPARE(reply.httpStatus, 0);

    // Reading the counts is itself a connection.
    QJsonObject after = all();
    before.remove("control"_L1);
    after.remove("control"_L1);
    QVERIFY(!after.isEmpty());
    QCOMPARE(after, before);
}

void TestHttpsJson::exchangesShareNoState()
{
    const int before = JsonService::connections(u"https"_s);
    echoOf(u"/cookie"_s);
    QCOMPARE(headerValues(echoOf(u"/echo"_s), u"Cookie"_s), QStringList());
    expectFailureUnderWine({""}, "Wine keeps connections open for later sessions");
    QCOMPARE(JsonService::connections(u"https"_s), before + 2);
}

QTEST_GUILESS_MAIN(TestHttpsJson)
#include "tst_httpsjson.moc"
