// SPDX-License-Identifier: GPL-2.0-or-later
#include "heldfile.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#ifdef Q_OS_WIN
#include <windows.h>
#else
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QByteArray checked = "the checked bytes";

void write(const QString &path, const QByteArray &data)
{
    QFile file(path);
    QVERIFY2(file.open(QIODevice::WriteOnly) && file.write(data) == data.size(), qPrintable(file.errorString()));
}

} // namespace

class TestHeldFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { folder.reset(); }
    void holdsAnExistingFile();
    void holdsOnlyRegularFiles();
#ifdef Q_OS_WIN
    void preventsEveryChange();
    void rejectsAFileOpenForWriting();
#else
    void rejectsASymbolicLink();
    void removesWritePermissionOfOthers();
    void rejectsAFolderThatOthersCanChange_data();
    void rejectsAFolderThatOthersCanChange();
    void rejectsAFileOfAnotherUser();
#endif

private:
    std::unique_ptr<QTemporaryDir> folder;
    QString path;
};

void TestHeldFile::init()
{
    folder = std::make_unique<QTemporaryDir>();
    path = folder->filePath(u"Prüfung 1.exe"_s);
    write(path, checked);
}

void TestHeldFile::holdsAnExistingFile()
{
    {
        const HeldFile held(path);
        QVERIFY(held.isHeld());
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), checked);
    }
    write(path, "other bytes");
    QVERIFY(QFile::remove(path));
}

void TestHeldFile::holdsOnlyRegularFiles()
{
    QVERIFY(!HeldFile(folder->filePath(u"none"_s)).isHeld());
    QVERIFY(!HeldFile(folder->path()).isHeld());
}

#ifdef Q_OS_WIN

void TestHeldFile::preventsEveryChange()
{
    const HeldFile held(path);
    QVERIFY(held.isHeld());
    const QString other = folder->filePath(u"other"_s);
    write(other, "other bytes");
    QFile file(path);
    QVERIFY(!file.open(QIODevice::WriteOnly));
    QVERIFY(!file.open(QIODevice::ReadWrite));
    QVERIFY(!QFile::remove(path));
    QVERIFY(!QFile::rename(path, folder->filePath(u"renamed"_s)));
    QVERIFY(!MoveFileExW(reinterpret_cast<const wchar_t *>(QDir::toNativeSeparators(other).utf16()),
                         reinterpret_cast<const wchar_t *>(QDir::toNativeSeparators(path).utf16()),
                         MOVEFILE_REPLACE_EXISTING));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), checked);
}

void TestHeldFile::rejectsAFileOpenForWriting()
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(!HeldFile(path).isHeld());
    file.close();
    QVERIFY(HeldFile(path).isHeld());
}

#else

void TestHeldFile::rejectsASymbolicLink()
{
    const QString link = folder->filePath(u"link.exe"_s);
    QVERIFY(QFile::link(path, link));
    QVERIFY(!HeldFile(link).isHeld());
}

void TestHeldFile::removesWritePermissionOfOthers()
{
    QCOMPARE(chmod(QFile::encodeName(path).constData(), 0777), 0);
    const HeldFile held(path);
    QVERIFY(held.isHeld());
    struct stat status{};
    QCOMPARE(stat(QFile::encodeName(path).constData(), &status), 0);
    QCOMPARE(status.st_mode & 07777U, 0755U);
}

void TestHeldFile::rejectsAFolderThatOthersCanChange_data()
{
    QTest::addColumn<uint>("mode");
    QTest::addColumn<bool>("held");
    QTest::newRow("owner only") << 0700U << true;
    QTest::newRow("readable") << 0755U << true;
    QTest::newRow("writable for the group") << 0770U << false;
    QTest::newRow("writable for all") << 0777U << false;
    QTest::newRow("writable for all, sticky as /tmp") << 01777U << true;
}

void TestHeldFile::rejectsAFolderThatOthersCanChange()
{
    QFETCH(uint, mode);
    QFETCH(bool, held);
    QCOMPARE(chmod(QFile::encodeName(folder->path()).constData(), mode), 0);
    QCOMPARE(HeldFile(path).isHeld(), held);
}

void TestHeldFile::rejectsAFileOfAnotherUser()
{
    constexpr uid_t nobody = 65534;
    if (chown(QFile::encodeName(path).constData(), nobody, static_cast<gid_t>(-1)) != 0) {
        QSKIP("this user may not change the owner of a file");
    }
    QVERIFY(!HeldFile(path).isHeld());
    QCOMPARE(chown(QFile::encodeName(path).constData(), geteuid(), static_cast<gid_t>(-1)), 0);
    QVERIFY(HeldFile(path).isHeld());
    QCOMPARE(chown(QFile::encodeName(folder->path()).constData(), nobody, static_cast<gid_t>(-1)), 0);
    QVERIFY(!HeldFile(path).isHeld());
    QCOMPARE(chown(QFile::encodeName(folder->path()).constData(), geteuid(), static_cast<gid_t>(-1)), 0);
}

#endif

QTEST_GUILESS_MAIN(TestHeldFile)
#include "tst_heldfile.moc"
