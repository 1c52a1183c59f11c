// SPDX-License-Identifier: GPL-2.0-or-later
// The pure functions of the JSON exchange: addresses, responses, failures.
#include "httpsjson.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestHttpsJsonRules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parsesAddresses_data();
    void parsesAddresses();
    void rejectsAddresses_data();
    void rejectsAddresses();
    void parsesResponses_data();
    void parsesResponses();
    void describesFailures_data();
    void describesFailures();
};

void TestHttpsJsonRules::parsesAddresses_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("host");
    QTest::addColumn<int>("port");
    QTest::addColumn<QString>("objectName");

    QTest::newRow("path") << u"https://example.com/api/x.php"_s << u"example.com"_s << 443 << u"/api/x.php"_s;
    QTest::newRow("no path") << u"https://example.com"_s << u"example.com"_s << 443 << QString();
    QTest::newRow("port") << u"https://example.com:8443/a"_s << u"example.com"_s << 8443 << u"/a"_s;
    QTest::newRow("upper case") << u"HTTPS://EXAMPLE.com/A"_s << u"example.com"_s << 443 << u"/A"_s;
    QTest::newRow("query") << u"https://h/a?b=c&d"_s << u"h"_s << 443 << u"/a?b=c&d"_s;
    QTest::newRow("empty query") << u"https://h/a?"_s << u"h"_s << 443 << u"/a?"_s;
    QTest::newRow("query without path") << u"https://h?b"_s << u"h"_s << 443 << u"?b"_s;
    QTest::newRow("fragment is dropped") << u"https://h/a?b#c"_s << u"h"_s << 443 << u"/a?b"_s;
    QTest::newRow("user is dropped") << u"https://me:pw@h/a"_s << u"h"_s << 443 << u"/a"_s;
    QTest::newRow("umlauts in the path") << u"https://h/grüße"_s << u"h"_s << 443 << u"/gr%C3%BC%C3%9Fe"_s;
    QTest::newRow("umlauts in the query") << u"https://h/a?n=grüße"_s << u"h"_s << 443 << u"/a?n=grüße"_s;
    QTest::newRow("encoded umlauts in the query") << u"https://h/a?n=gr%C3%BC"_s << u"h"_s << 443 << u"/a?n=grü"_s;
    QTest::newRow("encoded blank in the query") << u"https://h/a?n=a%20b"_s << u"h"_s << 443 << u"/a?n=a b"_s;
    QTest::newRow("encoded delimiters stay") << u"https://h/a%2Fb?n=%26"_s << u"h"_s << 443 << u"/a%2Fb?n=%26"_s;
    QTest::newRow("umlauts in the host") << u"https://bücher.example/"_s << u"xn--bcher-kva.example"_s << 443 << u"/"_s;
    QTest::newRow("IPv4") << u"https://127.0.0.1:1/"_s << u"127.0.0.1"_s << 1 << u"/"_s;
    QTest::newRow("IPv6") << u"https://[::1]:65535/"_s << u"::1"_s << 65535 << u"/"_s;
    QTest::newRow("no host") << u"https:///a"_s << QString() << 443 << u"/a"_s;
}

void TestHttpsJsonRules::parsesAddresses()
{
    QFETCH(QString, url);
    QFETCH(QString, host);
    QFETCH(int, port);
    QFETCH(QString, objectName);
    const std::optional<HttpsAddress> address = parseHttpsAddress(url);
    QVERIFY(address);
    QCOMPARE(address->host, host);
    QCOMPARE(address->port, port);
    QCOMPARE(address->objectName, objectName);
}

void TestHttpsJsonRules::rejectsAddresses_data()
{
    QTest::addColumn<QString>("url");

    QTest::newRow("plain http") << u"http://example.com/a"_s;
    QTest::newRow("another scheme") << u"ftp://example.com/a"_s;
    QTest::newRow("a longer scheme") << u"httpss://example.com/a"_s;
    QTest::newRow("no scheme") << u"example.com/a"_s;
    QTest::newRow("no scheme, but slashes") << u"//example.com/a"_s;
    QTest::newRow("blank before it") << u" https://example.com/a"_s;
    QTest::newRow("empty") << QString();
    QTest::newRow("port out of range") << u"https://example.com:65536/a"_s;
    QTest::newRow("port is no number") << u"https://example.com:https/a"_s;
    QTest::newRow("blank in the host") << u"https://exa mple.com/a"_s;
    QTest::newRow("unclosed bracket") << u"https://[::1/a"_s;
    QTest::newRow("invalid IPv6") << u"https://[1:2]/a"_s;
    QTest::newRow("percent sign in the host") << u"https://100%/a"_s;
}

void TestHttpsJsonRules::rejectsAddresses()
{
    QFETCH(QString, url);
    QVERIFY(!parseHttpsAddress(url));

    const HttpsJsonReply reply = exchangeJson(url, "{}");
    const QJsonObject expected{{u"ok"_s, false}, {u"message"_s, u"Ungültige Server-Adresse."_s}};
    QCOMPARE(reply.object, expected);
    QCOMPARE(reply.httpStatus, 0);
}

void TestHttpsJsonRules::parsesResponses_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QJsonObject>("object");

    const auto noJson = [](int status) {
        const QString text = u"Der Server lieferte keine gültige JSON-Antwort. HTTP %1"_s.arg(status);
        return QJsonObject{{u"ok"_s, false}, {u"message"_s, text}};
    };
    const QJsonObject answer{{u"ok"_s, true}, {u"ip"_s, u"192.0.2.1"_s}};
    const QByteArray text = R"({"ok":true,"ip":"192.0.2.1"})";
    QTest::newRow("object, 200") << 200 << text << answer;
    QTest::newRow("object, 404") << 404 << text << answer;
    QTest::newRow("object, 500") << 500 << text << answer;
    QTest::newRow("object, no status") << 0 << text << answer;
    QTest::newRow("blanks around it") << 200 << QByteArray(" \r\n" + text + "\n\n") << answer;
    QTest::newRow("neither ok nor message")
        << 200 << QByteArray(R"({"a":null})") << QJsonObject{{u"a"_s, QJsonValue::Null}};
    QTest::newRow("empty, 200") << 200 << QByteArray() << noJson(200);
    QTest::newRow("empty, 500") << 500 << QByteArray() << noJson(500);
    QTest::newRow("empty, no status") << 0 << QByteArray() << noJson(0);
    QTest::newRow("array") << 200 << QByteArray("[]") << noJson(200);
    QTest::newRow("array with an object") << 200 << QByteArray('[' + text + ']') << noJson(200);
    QTest::newRow("number") << 200 << QByteArray("7") << noJson(200);
    QTest::newRow("text") << 200 << QByteArray("\"ok\"") << noJson(200);
    QTest::newRow("null") << 200 << QByteArray("null") << noJson(200);
    QTest::newRow("no members") << 200 << QByteArray("{}") << noJson(200);
    QTest::newRow("cut off") << 200 << text.chopped(1) << noJson(200);
    QTest::newRow("something after it") << 200 << QByteArray(text + '}') << noJson(200);
    QTest::newRow("HTML") << 502 << QByteArray("<html>Bad Gateway</html>") << noJson(502);
}

void TestHttpsJsonRules::parsesResponses()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QJsonObject, object);
    const HttpsJsonReply reply = parseResponse({status, body});
    QCOMPARE(reply.object, object);
    QCOMPARE(reply.httpStatus, status);
}

void TestHttpsJsonRules::describesFailures_data()
{
    QTest::addColumn<int>("step");
    QTest::addColumn<quint32>("code");
    QTest::addColumn<QString>("message");

    const auto row = [](const char *name, HttpsStep step, quint32 code, const QString &message) {
        QTest::newRow(name) << static_cast<int>(step) << code << message;
    };
    row("open", HttpsStep::Open, 8, u"WinHTTP konnte nicht gestartet werden. Fehler 8"_s);
    row("connect", HttpsStep::Connect, 87, u"Serververbindung fehlgeschlagen. WinHTTP-Fehler 87"_s);
    row("request", HttpsStep::Request, 12005, u"HTTPS-Anfrage konnte nicht erstellt werden. Fehler 12005"_s);
    row("transfer", HttpsStep::Transfer, 12002, u"Server nicht erreichbar. WinHTTP-Fehler 12002"_s);
    row("largest number", HttpsStep::Transfer, 4294967295, u"Server nicht erreichbar. WinHTTP-Fehler 4294967295"_s);
}

void TestHttpsJsonRules::describesFailures()
{
    QFETCH(int, step);
    QFETCH(quint32, code);
    QFETCH(QString, message);
    const HttpsJsonReply reply = describeFailure({static_cast<HttpsStep>(step), code});
    const QJsonObject expected{{u"ok"_s, false}, {u"message"_s, message}};
    QCOMPARE(reply.object, expected);
    QCOMPARE(reply.httpStatus, 0);
}

QTEST_GUILESS_MAIN(TestHttpsJsonRules)
#include "tst_httpsjson_rules.moc"
