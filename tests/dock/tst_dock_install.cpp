// SPDX-License-Identifier: GPL-2.0-or-later
// Check and start of an installer downloaded over a real network.
#include "dock/installfixture.h"

#include <QApplication>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int guardExitCode = 7;
/// Far beyond the 800 ms between the start of an installer and the quit.
constexpr std::chrono::milliseconds beyondQuitDelay = 2000ms;

const QByteArray installer = "MZ: the bytes of an installer";

const QString digestText = u"Sicherheitsprüfung fehlgeschlagen: SHA-256 stimmt nicht überein."_s;
const QString saveText = u"Der Installer konnte nicht gespeichert werden."_s;
const QString checkedText = u"Installer geprüft. OBS wird beendet und das Update gestartet …"_s;
const QString startText = u"Der Installer konnte nicht gestartet werden."_s;

/// Runs the application's event loop until it is quit; guardExitCode after the time limit.
int runApplication(std::chrono::milliseconds atMost)
{
    QTimer guard;
    QObject::connect(&guard, &QTimer::timeout, [] { QCoreApplication::exit(guardExitCode); });
    guard.start(atMost);
    return QCoreApplication::exec();
}

} // namespace

class TestDockInstall : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void rejectsWrongDigests_data();
    void rejectsWrongDigests();
    void reportsAMissingFolder();
    void rejectsVersionsWithPathSeparators_data();
    void rejectsVersionsWithPathSeparators();
    void reportsAFileThatDoesNotStart();
    void replacedFileIsNotStarted();
    void startsTheInstallerAndQuits();
};

void TestDockInstall::initTestCase()
{
    QVERIFY2(HttpsServers().isUsable(), "run this test through testkit/withservers.py");
    // The message box is the only window here; closing it must not quit the application.
    QApplication::setQuitOnLastWindowClosed(false);
}

void TestDockInstall::rejectsWrongDigests_data()
{
    QTest::addColumn<QByteArray>("served");
    QTest::newRow("first byte") << 'N' + installer.mid(1);
    QTest::newRow("last byte") << installer.chopped(1) + 'R';
    QTest::newRow("one byte less") << installer.chopped(1);
    QTest::newRow("one byte more") << installer + '\0';
}

void TestDockInstall::rejectsWrongDigests()
{
    QFETCH(QByteArray, served);
    InstallFixture fixture;
    fixture.offer(installer, {.body = served});
    const QStringList offer = fixture.pending();
    fixture.install();
    QCOMPARE(fixture.label(), digestText);
    QCOMPARE(fixture.pending(), offer);
    QVERIFY(fixture.savedFiles().isEmpty());
}

void TestDockInstall::reportsAMissingFolder()
{
    InstallFixture fixture;
    fixture.useTemporaryFolder(fixture.folder.filePath(u"none"_s));
    fixture.offer(installer, {.body = installer});
    fixture.install();
    QCOMPARE(fixture.label(), saveText);
    QVERIFY(fixture.savedFiles().isEmpty());
}

void TestDockInstall::rejectsVersionsWithPathSeparators_data()
{
    QTest::addColumn<QString>("version");
    for (const QString &version : {u"1.0/x"_s, u"1.0/../x"_s, u"1.0\\x"_s, u"1.0\\..\\x"_s, u"1.0:x"_s}) {
        QTest::addRow("%s", qPrintable(version)) << version;
    }
}

void TestDockInstall::rejectsVersionsWithPathSeparators()
{
    QFETCH(QString, version);
    InstallFixture fixture;
    // A folder that the file name would refer to.
    const QString folderName = u"Tarvoline-SRTLA-Plugin-Setup-v1.0"_s;
    QVERIFY(QDir(fixture.folder.path()).mkdir(folderName));
    fixture.offer(installer, {.body = installer});
    QStringList offer = fixture.pending();
    offer.last() = version;
    fixture.setPending(offer);
    fixture.install();
    QCOMPARE(fixture.label(), saveText);
    QCOMPARE(fixture.savedFiles(), QStringList{folderName});
    QVERIFY(QDir(fixture.folder.filePath(folderName)).isEmpty());
}

void TestDockInstall::reportsAFileThatDoesNotStart()
{
    InstallFixture fixture;
    const QByteArray data = "these bytes are no program";
    fixture.offer(data, {.body = data});
    const QStringList offer = fixture.pending();
    fixture.install();
    QCOMPARE(fixture.label(), startText);
    QCOMPARE(fixture.pending(), offer);
    QCOMPARE(fixture.savedFiles(), QStringList{u"Tarvoline-SRTLA-Plugin-Setup-v1.0.exe"_s});
    QCOMPARE(fixture.content(fixture.savedPath()), data);
    // OBS keeps running.
    QCOMPARE(runApplication(beyondQuitDelay), guardExitCode);
}

void TestDockInstall::replacedFileIsNotStarted()
{
    const QTemporaryDir recordFolder;
    const QString record = recordFolder.filePath(u"record"_s);
    qputenv("TARVOLINE_TEST_RECORD", QDir::toNativeSeparators(record).toLocal8Bit());
    const InstallFixture fixture;
    const DockProbe probe(*fixture.dock);
    QVERIFY(QFile::copy(QStringLiteral(TARVOLINE_TEST_RECORDER), fixture.savedPath()));
    probe.startSavedInstaller(fixture.savedPath(), InstallFixture::sha256("another program"));
    QCOMPARE(fixture.label(), digestText);
    QCOMPARE(runApplication(beyondQuitDelay), guardExitCode); // the program's record would exist by then
    QVERIFY(!QFile::exists(record));
}

void TestDockInstall::startsTheInstallerAndQuits()
{
    const QTemporaryDir recordFolder;
    InstallFixture fixture;
    const QByteArray program = fixture.content(QStringLiteral(TARVOLINE_TEST_RECORDER));
    QVERIFY(program.size() > 1000);
    fixture.offer(program, {.body = program});

    // An existing file is replaced and keeps its permissions. On Unix the installer could not be started otherwise,
    // since a new file is not executable.
    QFile older(fixture.savedPath());
    QVERIFY(older.open(QIODevice::WriteOnly));
    older.write("older");
    older.close();
    QVERIFY(older.setPermissions(older.permissions() | QFile::ExeOwner));

    const QString record = recordFolder.filePath(u"record"_s);
    qputenv("TARVOLINE_TEST_RECORD", QDir::toNativeSeparators(record).toLocal8Bit());

    // Upper limit of the quit delay, by a timer that is started after the dock's: timers fire in the order of their
    // deadlines, even on a loaded machine.
    constexpr std::chrono::milliseconds latestQuit = 850ms;
    bool isLate = false;
    QObject scope; // the timer ends with the variable
    connect(
        fixture.network.get(), &QNetworkAccessManager::finished, &scope,
        [&] { QTimer::singleShot(latestQuit, Qt::PreciseTimer, &scope, [&isLate] { isLate = true; }); },
        Qt::QueuedConnection);
    QTimer::singleShot(0, fixture.dock.get(), &TarvolineDock::downloadAndInstallUpdate);
    QCOMPARE(runApplication(std::chrono::milliseconds(waitMs)), 0);
    QVERIFY2(!isLate, "too late");
    // The quit comes 800 ms after the start, which is after the end of the download; 1 ms less because Qt rounds to
    // milliseconds.
    QVERIFY2(fixture.network->sinceFinished().elapsed() >= 799,
             qPrintable(QString::number(fixture.network->sinceFinished().elapsed())));

    QCOMPARE(fixture.label(), checkedText);
    QVERIFY(fixture.checkButton->isEnabled());
    QVERIFY(fixture.installButton->isEnabled());
    QCOMPARE(fixture.savedFiles(), QStringList{u"Tarvoline-SRTLA-Plugin-Setup-v1.0.exe"_s});
    QCOMPARE(fixture.content(fixture.savedPath()), program);
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(record), waitMs);
    QList<QByteArray> arguments = fixture.content(record).split('\n');
    QCOMPARE(QDir::fromNativeSeparators(QString::fromLocal8Bit(arguments.takeFirst()).trimmed()), fixture.savedPath());
    for (QByteArray &argument : arguments) {
        argument = argument.trimmed();
    }
    QCOMPARE(arguments, (QList<QByteArray>{"/SP-", "/CLOSEAPPLICATIONS", "/RESTARTAPPLICATIONS", ""}));
}

QTEST_MAIN(TestDockInstall)
#include "tst_dock_install.moc"
