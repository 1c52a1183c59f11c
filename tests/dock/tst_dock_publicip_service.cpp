// SPDX-License-Identifier: GPL-2.0-or-later
// The button "IP ermitteln" with the deployed configuration of the vendor's service. Linux only.
#include "dock/dockfixture.h"
#include "testkit/timelimits.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTextEdit>

using namespace Qt::StringLiterals;

class TestDockPublicIpService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void findsTheAddress();
    void showsTheServicesRefusal();

private:
    static void press(const DockProbe &probe);
};

void TestDockPublicIpService::press(const DockProbe &probe)
{
    probe.queryIpButton()->click();
    QVERIFY(!probe.queryIpButton()->isEnabled());
    QTRY_VERIFY_WITH_TIMEOUT(probe.queryIpButton()->isEnabled(), waitMs);
}

void TestDockPublicIpService::findsTheAddress()
{
    DockFixture fixture;
    const DockProbe probe = fixture.buildQuiet();
    press(probe);
    QCOMPARE(probe.ipHintLabel()->text(), u"Öffentliche IP erkannt: 127.0.0.1"_s);
    QCOMPARE(probe.publicHostEdit()->text(), u"127.0.0.1"_s);
    QCOMPARE(fixture.store.value(u"publicHost"_s).toString(), u"127.0.0.1"_s);
    QVERIFY(probe.logView()->toPlainText().contains(u"NETZWERK | Öffentliche IP: 127.0.0.1"_s));
}

void TestDockPublicIpService::showsTheServicesRefusal()
{
    constexpr int moreThanTheServiceAllows = 60;
    DockFixture fixture;
    const DockProbe probe = fixture.buildQuiet();
    const QString refusal = u"Zu viele Anfragen. Bitte versuche es später noch einmal."_s;
    for (int i = 0; i < moreThanTheServiceAllows && probe.ipHintLabel()->text() != refusal; ++i) {
        press(probe);
    }
    QCOMPARE(probe.ipHintLabel()->text(), refusal);
    QCOMPARE(probe.publicHostEdit()->text(), u"127.0.0.1"_s);
}

QTEST_MAIN(TestDockPublicIpService)
#include "tst_dock_publicip_service.moc"
