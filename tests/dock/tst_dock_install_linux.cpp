// SPDX-License-Identifier: GPL-2.0-or-later
// Errors of the temporary folder, on file systems that this test mounts in a mount namespace, and the update from the
// real service. Linux only.
#include "dock/installfixture.h"

#include <QNetworkReply>
#include <QTest>

#include <sched.h>
#include <sys/mount.h>

using namespace Qt::StringLiterals;

namespace {

const QByteArray installer = "MZ: the bytes of an installer";
const QString saveText = u"Der Installer konnte nicht gespeichert werden."_s;
const QString startText = u"Der Installer konnte nicht gestartet werden."_s;

/// A small tmpfs mounted over the fixture's temporary folder while this object exists.
class SmallDisk
{
public:
    SmallDisk(const QTemporaryDir &folder, unsigned long flags, const char *options)
        : path(folder.path().toLocal8Bit()), mounted(mount("tmpfs", path, "tmpfs", flags, options) == 0)
    {
    }
    ~SmallDisk()
    {
        if (mounted) {
            umount2(path, MNT_DETACH);
        }
    }
    Q_DISABLE_COPY_MOVE(SmallDisk)

    [[nodiscard]] bool isMounted() const { return mounted; }
    void makeReadOnly() const { QVERIFY(mount(nullptr, path, nullptr, MS_REMOUNT | MS_RDONLY, nullptr) == 0); }

private:
    QByteArray path;
    bool mounted;
};

} // namespace

class TestDockInstallLinux : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void reportsAFullDisk();
    void keepsAnOlderInstallerWhenTheDiskIsFull();
    void reportsAReadOnlyFolder();
    void reportsANoexecFileSystem();
    void downloadsFromTheRealService();
    void replacesASymbolicLink();
    void startsNoFileThatOthersCanReplace();

private:
    static void requireMounts()
    {
        if (!canMount) {
            QSKIP("this user may not mount file systems in a namespace");
        }
    }

    inline static bool canMount = false;
};

void TestDockInstallLinux::initTestCase()
{
    QVERIFY2(HttpsServers().isUsable(), "run this test through testkit/withservers.py");
    canMount = unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

void TestDockInstallLinux::reportsAFullDisk()
{
    requireMounts();
    InstallFixture fixture;
    const SmallDisk disk(fixture.folder, 0, "size=64k");
    QVERIFY(disk.isMounted());
    const QByteArray data(100000, 'x');
    fixture.offer(data, {.body = data});
    const QStringList offer = fixture.pending();
    fixture.install();
    QCOMPARE(fixture.label(), saveText);
    QCOMPARE(fixture.pending(), offer);
    QVERIFY(fixture.savedFiles().isEmpty());
}

void TestDockInstallLinux::keepsAnOlderInstallerWhenTheDiskIsFull()
{
    requireMounts();
    InstallFixture fixture;
    const SmallDisk disk(fixture.folder, 0, "size=64k");
    QVERIFY(disk.isMounted());
    QFile older(fixture.savedPath());
    QVERIFY(older.open(QIODevice::WriteOnly));
    older.write("older");
    older.close();
    const QByteArray data(100000, 'x');
    fixture.offer(data, {.body = data});
    fixture.install();
    QCOMPARE(fixture.label(), saveText);
    QCOMPARE(fixture.savedFiles().size(), 1);
    QCOMPARE(fixture.content(fixture.savedPath()), "older");
}

void TestDockInstallLinux::reportsAReadOnlyFolder()
{
    requireMounts();
    InstallFixture fixture;
    const SmallDisk disk(fixture.folder, 0, "size=64k");
    QVERIFY(disk.isMounted());
    disk.makeReadOnly();
    fixture.offer(installer, {.body = installer});
    fixture.install();
    QCOMPARE(fixture.label(), saveText);
    QVERIFY(fixture.savedFiles().isEmpty());
}

void TestDockInstallLinux::reportsANoexecFileSystem()
{
    requireMounts();
    InstallFixture fixture;
    const SmallDisk disk(fixture.folder, MS_NOEXEC, "size=64m");
    QVERIFY(disk.isMounted());
    const QByteArray program = fixture.content(QStringLiteral(TARVOLINE_TEST_RECORDER));
    QFile older(fixture.savedPath());
    QVERIFY(older.open(QIODevice::WriteOnly));
    QVERIFY(older.setPermissions(older.permissions() | QFile::ExeOwner));
    older.close();
    fixture.offer(program, {.body = program});
    fixture.install();
    QCOMPARE(fixture.label(), startText);
    QCOMPARE(fixture.content(fixture.savedPath()), program);
}

void TestDockInstallLinux::downloadsFromTheRealService()
{
    InstallFixture fixture(u"serviceProxy"_s);
    const QByteArray data = "MZ" + QByteArray(3000000, 'i');
    fixture.publish(data);
    fixture.check();
    QCOMPARE(fixture.label(), u"Neue Version 1.2.3 verfügbar. Installiert ist 0.9.2."_s);
    fixture.install();
    // A new file is not executable on Linux; all earlier steps succeeded.
    QCOMPARE(fixture.label(), startText);
    QCOMPARE(fixture.content(fixture.folder.filePath(u"Tarvoline-SRTLA-Plugin-Setup-v1.2.3.exe"_s)), data);
}

void TestDockInstallLinux::replacesASymbolicLink()
{
    InstallFixture fixture;
    const QTemporaryDir elsewhere;
    const QString target = elsewhere.filePath(u"target"_s);
    QFile precious(target);
    QVERIFY(precious.open(QIODevice::WriteOnly));
    precious.write("precious");
    precious.close();
    QVERIFY(QFile::link(target, fixture.savedPath()));
    fixture.offer(installer, {.body = installer});
    fixture.install();
    QCOMPARE(fixture.label(), startText);
    QVERIFY(!QFileInfo(fixture.savedPath()).isSymLink());
    QCOMPARE(fixture.content(fixture.savedPath()), installer);
    QCOMPARE(fixture.content(target), "precious");
}

void TestDockInstallLinux::startsNoFileThatOthersCanReplace()
{
    const QTemporaryDir recordFolder;
    const QString record = recordFolder.filePath(u"record"_s);
    qputenv("TARVOLINE_TEST_RECORD", QFile::encodeName(record));
    InstallFixture fixture;
    QVERIFY(QFile::setPermissions(fixture.folder.path(), QFile::Permissions::fromInt(0x7777)));
    QFile older(fixture.savedPath());
    QVERIFY(older.open(QIODevice::WriteOnly));
    older.close();
    QVERIFY(older.setPermissions(older.permissions() | QFile::ExeOwner));
    const QByteArray program = fixture.content(QStringLiteral(TARVOLINE_TEST_RECORDER));
    fixture.offer(program, {.body = program});
    fixture.install();
    QCOMPARE(fixture.label(), saveText);
    QVERIFY(!QFile::exists(record));
}

QTEST_MAIN(TestDockInstallLinux)
#include "tst_dock_install_linux.moc"
