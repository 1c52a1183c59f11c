// SPDX-License-Identifier: GPL-2.0-or-later
// The update from the check to the start of the project's installer. test_update.py creates the Wine prefix and checks
// the result. The environment variable TARVOLINE_TEST_SETUP is the path of the installer.
#include "dock/updatefixture.h"

#include "buildspec.h"

#include <QApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

constexpr int installMs = 120000; // time limit of a check, a download and a quit under Wine
constexpr int timeoutExitCode = 7;

QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Runs the application's event loop. Returns its exit code, or timeoutExitCode if it does not quit within installMs.
int runApplication()
{
    QTimer guard;
    QObject::connect(&guard, &QTimer::timeout, [] { QCoreApplication::exit(timeoutExitCode); });
    guard.start(installMs);
    return QCoreApplication::exec();
}

} // namespace

class TestDockInstallSetup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void startsInstallerAndQuits();
    void rejectsInstallerWithOtherDigest();

private:
    /// Serves a manifest with the digest of the installer, and \a served as the installer; checks for updates.
    void offer(UpdateFixture &fixture, const QByteArray &served) const;

    QByteArray setup;
    QString saved = QDir::temp().filePath(u"Tarvoline-SRTLA-Plugin-Setup-v1.0.exe"_s);
};

void TestDockInstallSetup::initTestCase()
{
    QVERIFY2(HttpsServers().isUsable(), "run this test through testkit/withservers.py");
    setup = content(qEnvironmentVariable("TARVOLINE_TEST_SETUP"));
    QVERIFY(setup.startsWith("MZ"));
    QVERIFY(!QFile::exists(saved));
    // The message box is the only window here; closing it must not quit the application.
    QApplication::setQuitOnLastWindowClosed(false);
}

void TestDockInstallSetup::offer(UpdateFixture &fixture, const QByteArray &served) const
{
    const QByteArray digest = QCryptographicHash::hash(setup, QCryptographicHash::Sha256).toHex();
    const QString address = u"https://files.%1/Setup.exe"_s.arg(QLatin1StringView(vendorHost));
    const QJsonObject manifest{{u"product"_s, u"tarvoline-srtla"_s},
                               {u"latest_version"_s, u"1.0"_s},
                               {u"download_url"_s, address},
                               {u"sha256"_s, QString::fromLatin1(digest)},
                               {u"install_mode"_s, u"installer_exe"_s}};
    fixture.servers.respond(u"/update.json"_s, {.body = QJsonDocument(manifest).toJson()});
    fixture.servers.respond(u"/Setup.exe"_s, {.body = served});
    fixture.boxes.answerWith([](QMessageBox &box) { MessageBoxes::press(box, QMessageBox::Yes); });
    fixture.invoke("checkForUpdatesManually");
    QTRY_COMPARE_WITH_TIMEOUT(fixture.label(), u"Neue Version 1.0 verfügbar. Installiert ist 0.9.2."_s, installMs);
    QVERIFY(!fixture.installButton->isHidden());
}

void TestDockInstallSetup::startsInstallerAndQuits()
{
    UpdateFixture fixture;
    offer(fixture, setup);
    QTimer::singleShot(0, fixture.dock.get(), &TarvolineDock::downloadAndInstallUpdate);
    QCOMPARE(runApplication(), 0);
    QCOMPARE(fixture.label(), u"Installer geprüft. OBS wird beendet und das Update gestartet …"_s);
    QCOMPARE(content(saved), setup);
}

void TestDockInstallSetup::rejectsInstallerWithOtherDigest()
{
    UpdateFixture fixture;
    QByteArray changed = setup;
    changed[changed.size() / 2] = static_cast<char>(~changed.at(changed.size() / 2));
    offer(fixture, changed);
    fixture.invoke("downloadAndInstallUpdate");
    QTRY_COMPARE_WITH_TIMEOUT(fixture.label(), u"Sicherheitsprüfung fehlgeschlagen: SHA-256 stimmt nicht überein."_s,
                              installMs);
    QVERIFY(fixture.checkButton->isEnabled());
    QVERIFY(!QFile::exists(saved));
}

QTEST_MAIN(TestDockInstallSetup)
#include "tst_dock_install_setup.moc"
