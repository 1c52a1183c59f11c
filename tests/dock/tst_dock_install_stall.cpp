// SPDX-License-Identifier: GPL-2.0-or-later
// The inactivity timeout of a download in real time: two minutes.
#include "dock/installfixture.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;

class TestDockInstallStall : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void timesOutAfterTwoMinutes();
};

void TestDockInstallStall::timesOutAfterTwoMinutes()
{
    constexpr int timeoutMs = 120000;
    constexpr int longerThanTheTimeoutMs = 600000;
    InstallFixture fixture;
    QVERIFY2(fixture.servers.isUsable(), "run this test through testkit/withservers.py");
    fixture.offer("MZ", {.body = "MZ", .announced = 3, .then = u"stall"_s});
    QElapsedTimer time;
    time.start();
    fixture.invoke("downloadAndInstallUpdate");
    QTRY_VERIFY_WITH_TIMEOUT(fixture.checkButton->isEnabled(), longerThanTheTimeoutMs);
    QVERIFY2(time.elapsed() >= timeoutMs, qPrintable(QString::number(time.elapsed())));
    QCOMPARE(fixture.label(), u"Der Installer konnte nicht sicher heruntergeladen werden."_s);
    QVERIFY(fixture.installButton->isEnabled());
    QVERIFY(fixture.savedFiles().isEmpty());
}

QTEST_MAIN(TestDockInstallStall)
#include "tst_dock_install_stall.moc"
