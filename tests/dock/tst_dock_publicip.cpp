// SPDX-License-Identifier: GPL-2.0-or-later
// The query for the public address, with a real server (withjsonservice.py) in place of the vendor's.
#include "docktest.h"
#include "testkit/httpsjsonexpectations.h"
#include "testkit/jsonservice.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTextEdit>
#include <QThreadPool>

using namespace Qt::StringLiterals;

namespace {

const QString initialHint = u"Öffentliche IP kann automatisch ermittelt oder manuell eingetragen werden."_s;
const QString runningHint = u"Öffentliche IP wird ermittelt …"_s;
const QString typedHost = u"mein.host.example"_s;

} // namespace

class TestDockPublicIp : public QuietDockTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() override;
    void cleanup() override;

    void sendsTheQuery();
    void appliesTheAddress_data();
    void appliesTheAddress();
    void showsFailures_data();
    void showsFailures();
    void showsTransportFailures_data();
    void showsTransportFailures();
    void runsOneQueryAtATime();
    void repeatsTheQuery();
    void doesNothingWhenUnloading();
    void survivesDestructionOfTheDock();

private:
    void click() { QTest::mouseClick(probe->queryIpButton(), Qt::LeftButton); }
    void clickAndWait();
    void verifyNothingChanged();
};

void TestDockPublicIp::initTestCase()
{
    QVERIFY2(JsonService::port(u"vendor"_s) != 0, "run this test through testkit/withjsonservice.py");
}

void TestDockPublicIp::init()
{
    QuietDockTest::init();
    fixture->dock->show();
    QVERIFY(QTest::qWaitForWindowExposed(fixture->dock.get()));
    probe->publicHostEdit()->setText(typedHost);
}

void TestDockPublicIp::cleanup()
{
    JsonService::release();
    QVERIFY(QThreadPool::globalInstance()->waitForDone(waitMs));
    QuietDockTest::cleanup();
}

/// Clicks the button, checks the state during the query and waits for its end.
void TestDockPublicIp::clickAndWait()
{
    QVERIFY(probe->queryIpButton()->isEnabled());
    click();
    QVERIFY(!probe->queryIpButton()->isEnabled());
    QCOMPARE(probe->ipHintLabel()->text(), runningHint);
    QTRY_VERIFY_WITH_TIMEOUT(probe->queryIpButton()->isEnabled(), waitMs);
}

void TestDockPublicIp::verifyNothingChanged()
{
    QCOMPARE(probe->publicHostEdit()->text(), typedHost);
    QCOMPARE(probe->moblinAddressEdit()->text(), u"srtla://mein.host.example:5000/live"_s);
    QVERIFY(fixture->store.value(u"publicHost"_s).toString() !=
            typedHost); // not saved, because the edit still has the focus
    QCOMPARE(probe->logView()->toPlainText(), QString());
    QVERIFY(fixture->boxes.shown().isEmpty());
}

void TestDockPublicIp::sendsTheQuery()
{
    const qsizetype before = JsonService::probes().size();
    JsonService::answerProbes(200, u"{\"ok\":true,\"ip\":\"192.0.2.7\"}"_s);
    clickAndWait();
    const QJsonArray requests = JsonService::probes();
    QCOMPARE(requests.size(), before + 1);
    const QJsonObject request = requests.last().toObject();
    QCOMPARE(request["method"_L1].toString(), u"POST"_s);
    QCOMPARE(request["target"_L1].toString(), u"/api/network_probe.php"_s);
    QCOMPARE(request["body"_L1].toString(), u"{\"action\":\"ip\"}"_s);
}

void TestDockPublicIp::appliesTheAddress_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("body");
    QTest::addColumn<QString>("ip");

    QTest::newRow("IPv4") << 200 << u"{\"ok\":true,\"ip\":\"192.0.2.7\"}"_s << u"192.0.2.7"_s;
    QTest::newRow("IPv6") << 200 << u"{\"ok\":true,\"ip\":\"2001:db8::7\"}"_s << u"2001:db8::7"_s;
    QTest::newRow("white space") << 200 << u"{\"ok\":true,\"ip\":\"  192.0.2.7 \\n\"}"_s << u"192.0.2.7"_s;
    QTest::newRow("no address at all") << 200 << u"{\"ok\":true,\"ip\":\"ein Name\"}"_s << u"ein Name"_s;
    QTest::newRow("placeholder") << 200 << u"{\"ok\":true,\"ip\":\"%1\"}"_s << u"%1"_s;
    QTest::newRow("with a message") << 200 << u"{\"ok\":true,\"ip\":\"192.0.2.7\",\"message\":\"Hallo\"}"_s
                                    << u"192.0.2.7"_s;
    QTest::newRow("whatever the status") << 500 << u"{\"ok\":true,\"ip\":\"192.0.2.7\"}"_s << u"192.0.2.7"_s;
}

void TestDockPublicIp::appliesTheAddress()
{
    QFETCH(int, status);
    QFETCH(QString, body);
    QFETCH(QString, ip);
    JsonService::answerProbes(status, body);
    clickAndWait();
    QCOMPARE(probe->publicHostEdit()->text(), ip);
    QCOMPARE(probe->ipHintLabel()->text(), u"Öffentliche IP erkannt: "_s + ip);
    QCOMPARE(probe->logView()->toPlainText(), u"NETZWERK | Öffentliche IP: "_s + ip);
    QCOMPARE(probe->moblinAddressEdit()->text(), u"srtla://"_s + ip + u":5000/live"_s);
    QCOMPARE(fixture->store.value(u"publicHost"_s).toString(), ip);
    QVERIFY(fixture->boxes.shown().isEmpty());
}

void TestDockPublicIp::showsFailures_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("body");
    QTest::addColumn<QString>("hint");

    const auto failed = [](int status) { return u"IP-Abfrage fehlgeschlagen (HTTP %1)"_s.arg(status); };
    const QString noJson = u"Der Server lieferte keine gültige JSON-Antwort. HTTP %1"_s;
    QTest::newRow("empty address") << 200 << u"{\"ok\":true,\"ip\":\"\"}"_s << failed(200);
    QTest::newRow("blank address") << 200 << u"{\"ok\":true,\"ip\":\" \\n\"}"_s << failed(200);
    QTest::newRow("no address") << 200 << u"{\"ok\":true}"_s << failed(200);
    QTest::newRow("address is no text") << 200 << u"{\"ok\":true,\"ip\":7}"_s << failed(200);
    QTest::newRow("no ok") << 404 << u"{\"ip\":\"192.0.2.7\"}"_s << failed(404);
    QTest::newRow("ok is a text") << 200 << u"{\"ok\":\"true\",\"ip\":\"192.0.2.7\"}"_s << failed(200);
    QTest::newRow("ok is a number") << 200 << u"{\"ok\":1,\"ip\":\"192.0.2.7\"}"_s << failed(200);
    QTest::newRow("not ok") << 503 << u"{\"ok\":false,\"ip\":\"192.0.2.7\"}"_s << failed(503);
    QTest::newRow("message") << 429 << u"{\"ok\":false,\"message\":\"Zu viele Anfragen.\"}"_s
                             << u"Zu viele Anfragen."_s;
    QTest::newRow("message, no address") << 200 << u"{\"ok\":true,\"message\":\"Später.\"}"_s << u"Später."_s;
    QTest::newRow("message unchanged") << 500 << u"{\"message\":\" %1 \\n \"}"_s << u" %1 \n "_s;
    QTest::newRow("message is no text") << 500 << u"{\"message\":7}"_s << failed(500);
    QTest::newRow("HTML") << 502 << u"<html></html>"_s << noJson.arg(502);
}

void TestDockPublicIp::showsFailures()
{
    QFETCH(int, status);
    QFETCH(QString, body);
    QFETCH(QString, hint);
    JsonService::answerProbes(status, body);
    clickAndWait();
    QCOMPARE(probe->ipHintLabel()->text(), hint);
    verifyNothingChanged();
}

void TestDockPublicIp::showsTransportFailures_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("hint");

    const auto unreachable = [](HttpsJson::ErrorNumber number) {
        return u"Server nicht erreichbar. WinHTTP-Fehler %1"_s.arg(number.here());
    };
    QTest::newRow("connection breaks off") << u"/cut"_s << unreachable(HttpsJson::brokenOff);
    QTest::newRow("server stalls") << u"/stall"_s << unreachable(HttpsJson::timedOutInResponse);
}

void TestDockPublicIp::showsTransportFailures()
{
    QFETCH(QString, path);
    QFETCH(QString, hint);
    JsonService::answerProbesAs(path);
    clickAndWait();
    QCOMPARE(probe->ipHintLabel()->text(), hint);
    verifyNothingChanged();
}

void TestDockPublicIp::runsOneQueryAtATime()
{
    const qsizetype before = JsonService::probes().size();
    JsonService::hold();
    JsonService::answerProbesAs(u"/hold"_s);
    click();
    QTRY_COMPARE_WITH_TIMEOUT(JsonService::probes().size(), before + 1, waitMs);
    click();
    JsonService::release();
    QTRY_VERIFY_WITH_TIMEOUT(probe->queryIpButton()->isEnabled(), waitMs);
    QVERIFY(QThreadPool::globalInstance()->waitForDone(waitMs));
    QCOMPARE(JsonService::probes().size(), before + 1);
}

void TestDockPublicIp::repeatsTheQuery()
{
    JsonService::answerProbes(500, u"{\"ok\":false,\"message\":\"Später.\"}"_s);
    clickAndWait();
    QCOMPARE(probe->ipHintLabel()->text(), u"Später."_s);
    JsonService::answerProbes(200, u"{\"ok\":true,\"ip\":\"192.0.2.7\"}"_s);
    clickAndWait();
    QCOMPARE(probe->publicHostEdit()->text(), u"192.0.2.7"_s);
}

void TestDockPublicIp::doesNothingWhenUnloading()
{
    const int before = JsonService::connections(u"vendor"_s);
    fixture->dock->shutdown();
    click();
    QVERIFY(QThreadPool::globalInstance()->waitForDone(waitMs));
    QCoreApplication::processEvents();
    QVERIFY(probe->queryIpButton()->isEnabled());
    QCOMPARE(probe->ipHintLabel()->text(), initialHint);
    QCOMPARE(JsonService::connections(u"vendor"_s), before);
    verifyNothingChanged();
}

void TestDockPublicIp::survivesDestructionOfTheDock()
{
    const qsizetype before = JsonService::probes().size();
    JsonService::hold();
    JsonService::answerProbesAs(u"/hold"_s);
    click();
    QTRY_COMPARE_WITH_TIMEOUT(JsonService::probes().size(), before + 1, waitMs);
    fixture->dock.reset();
    JsonService::release();
    QVERIFY(QThreadPool::globalInstance()->waitForDone(waitMs));
    QCoreApplication::processEvents();
}

QTEST_MAIN(TestDockPublicIp)
#include "tst_dock_publicip.moc"
