// SPDX-License-Identifier: GPL-2.0-or-later
// Updates in a process whose Qt has no TLS back end, such as OBS on Windows.
#include "dock/installfixture.h"

#include <QSslSocket>
#include <QTest>

using namespace Qt::StringLiterals;

class TestDockUpdateNoTls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void checkReportsTheReason();
    void installerIsNotDownloaded();

private:
    static void check(const InstallFixture &fixture);
};

void TestDockUpdateNoTls::initTestCase()
{
    QVERIFY2(HttpsServers().isUsable(), "run this test through testkit/withservers.py");
    // Qt loads TLS back ends when one is first needed; the platform plug-in is loaded already.
    QCoreApplication::setLibraryPaths({});
    QCOMPARE(QSslSocket::availableBackends(), QStringList());
}

void TestDockUpdateNoTls::checkReportsTheReason()
{
    InstallFixture fixture;
    check(fixture);
    QCOMPARE(fixture.label(), u"Installierte Version: 0.9.2\nUpdateprüfung nicht möglich.\n"
                              "Netzwerkfehler: TLS initialization failed"_s);
    QVERIFY(fixture.installButton->isHidden());
    QCOMPARE(fixture.boxes.shown().size(), 0);
    QCOMPARE(fixture.servers.connections(), 0);
}

void TestDockUpdateNoTls::installerIsNotDownloaded()
{
    InstallFixture fixture;
    fixture.offer("MZ", {.body = "MZ"});
    const QStringList offer = fixture.pending();
    fixture.install();
    QCOMPARE(fixture.label(), u"Der Installer konnte nicht sicher heruntergeladen werden."_s);
    QCOMPARE(fixture.pending(), offer);
    QVERIFY(fixture.savedFiles().isEmpty());
    QCOMPARE(fixture.boxes.shown().size(), 1); // the confirmation
    QCOMPARE(fixture.servers.connections(), 0);
}

void TestDockUpdateNoTls::check(const InstallFixture &fixture)
{
    fixture.invoke("checkForUpdatesManually");
    QTRY_VERIFY_WITH_TIMEOUT(fixture.checkButton->isEnabled(), waitMs);
}

QTEST_MAIN(TestDockUpdateNoTls)
#include "tst_dock_update_notls.moc"
