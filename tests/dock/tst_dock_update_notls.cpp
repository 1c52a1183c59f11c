// SPDX-License-Identifier: GPL-2.0-or-later
// Updates in a program whose Qt has no TLS back end, as OBS's has none on Windows.
#include "dock/installfixture.h"

#include <QSslSocket>
#include <QTest>

using namespace Qt::StringLiterals;

class TestDockUpdateNoTls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(HttpsServers().isUsable(), "run this through testkit/withservers.py");
        // Qt looks for its TLS back ends when one is first needed; the platform's plug-in is loaded already.
        QCoreApplication::setLibraryPaths({});
        QCOMPARE(QSslSocket::availableBackends(), QStringList());
    }

    void checkTellsWhy()
    {
        InstallFixture fixture;
        check(fixture);
        QCOMPARE(fixture.label(), u"Installierte Version: 0.9.2\nUpdateprüfung nicht möglich.\n"
                                  "Netzwerkfehler: TLS initialization failed"_s);
        QVERIFY(fixture.installButton->isHidden());
        QCOMPARE(fixture.boxes.shown().size(), 0);
        QCOMPARE(fixture.servers.connections(), 0);
    }

    void installerIsNotFetched()
    {
        InstallFixture fixture;
        fixture.offer("MZ", {.body = "MZ"});
        const QStringList offer = fixture.pending();
        fixture.install();
        QCOMPARE(fixture.label(), u"Der Installer konnte nicht sicher heruntergeladen werden."_s);
        QCOMPARE(fixture.pending(), offer);
        QVERIFY(fixture.savedFiles().isEmpty());
        QCOMPARE(fixture.boxes.shown().size(), 1); // the question before it
        QCOMPARE(fixture.servers.connections(), 0);
    }

private:
    static void check(const InstallFixture &fixture)
    {
        fixture.invoke("checkForUpdatesManually");
        QTRY_VERIFY_WITH_TIMEOUT(fixture.checkButton->isEnabled(), InstallFixture::waitMs);
    }
};

QTEST_MAIN(TestDockUpdateNoTls)
#include "tst_dock_update_notls.moc"
