// SPDX-License-Identifier: GPL-2.0-or-later
// The statistics file in both of its folders.
#include "docktest.h"

#include <QDir>
#include <QJsonDocument>
#include <QLabel>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTextEdit>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

const QString signalFileName = u"tarvoline-srtla-signal.json"_s;

QString appDataFile()
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation)).filePath(signalFileName);
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool invokeStatistics(TarvolineDock &dock)
{
    return QMetaObject::invokeMethod(&dock, "updateStatistics", Q_ARG(int, 2), Q_ARG(int, 5), Q_ARG(double, 7.5),
                                     Q_ARG(quint64, 1000), Q_ARG(quint64, 1250000));
}

} // namespace

class TestDockStatisticsFile : public QuietDockTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() override;
    void cleanup() override;
    void fileIsWrittenToBothFolders();
    void slotIsCallableByMetaObjectIndex();
    void fileIsReplacedAtomically();
    void openedFileKeepsItsContent();
    void otherFileIsWrittenWithoutTempFolder();
    void tempFileIsWrittenWithoutDataFolder();
    void runningReceiverWritesNoFile();
    void slotIsConnectableToTheEnginesSignal();

private:
    [[nodiscard]] QString tempFile() const { return QDir(temp->path()).filePath(u"Tarvoline/"_s + signalFileName); }
    static void useTempPath(const QString &path);

    QString systemTemp;
    std::optional<QTemporaryDir> temp;
};

void TestDockStatisticsFile::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    systemTemp = QDir::tempPath();
}

void TestDockStatisticsFile::init()
{
    QCoreApplication::setOrganizationName(u"tst_dock_statisticsfile"_s);
    QCoreApplication::setApplicationName(u"host"_s);
    temp.emplace();
    useTempPath(temp->path());
    QFile::remove(appDataFile());
    QuietDockTest::init();
}

void TestDockStatisticsFile::cleanup()
{
    QuietDockTest::cleanup();
    QFile::remove(appDataFile());
    QDir().rmdir(appDataFile()); // where a test puts a folder in its place
    useTempPath(systemTemp);
    temp.reset();
}

void TestDockStatisticsFile::useTempPath(const QString &path)
{
    // Unix reads the first, Windows the others.
    for (const char *name : {"TMPDIR", "TMP", "TEMP"}) {
        qputenv(name, QDir::toNativeSeparators(path).toLocal8Bit());
    }
}

void TestDockStatisticsFile::fileIsWrittenToBothFolders()
{
    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    QVERIFY(invokeStatistics(*fixture->dock));
    const qint64 after = QDateTime::currentMSecsSinceEpoch();
    QCOMPARE(probe->lastPacketCount(), quint64(1000));

    const QByteArray json = contents(tempFile());
    QVERIFY(!json.isEmpty());
    QCOMPARE(contents(appDataFile()), json);

    const QJsonObject object = QJsonDocument::fromJson(json).object();
    const auto stamp = qint64(object.value("timestamp_ms"_L1).toDouble());
    QVERIFY(before <= stamp && stamp <= after);
    const QByteArray expected = R"({"bitrate_mbps":7.5,"bytes_total":1250000,"groups":2,"packets":1000,"paths":5,)"
                                R"("product":"tarvoline-srtla","source":"Tarvoline SRTLA","timestamp_ms":)" +
                                QByteArray::number(stamp) + '}';
    QCOMPARE(json, expected);
}

void TestDockStatisticsFile::slotIsCallableByMetaObjectIndex()
{
    const int index = TarvolineDock::staticMetaObject.methodOffset() + 10;
    int groups = 1;
    int paths = 1;
    double rate = 0.1;
    quint64 packets = 18446744073709551615U;
    quint64 bytes = 3;
    void *arguments[] = {nullptr, &groups, &paths, &rate, &packets, &bytes};
    QMetaObject::metacall(fixture->dock.get(), QMetaObject::InvokeMetaMethod, index, arguments);
    const QJsonObject object = QJsonDocument::fromJson(contents(tempFile())).object();
    QCOMPARE(object.value("packets"_L1).toDouble(), 18446744073709551616.0);
    QCOMPARE(object.value("bitrate_mbps"_L1).toDouble(), 0.1);
}

void TestDockStatisticsFile::fileIsReplacedAtomically()
{
    QVERIFY(invokeStatistics(*fixture->dock));
    fixture->dock->updateStatistics(0, 0, 0, 1, 1);
    const QByteArray json = contents(tempFile());
    QCOMPARE(json.count('{'), 1);
    QCOMPARE(QJsonDocument::fromJson(json).object().value("packets"_L1).toInt(), 1);
    QCOMPARE(QDir(QFileInfo(tempFile()).path()).entryList(QDir::Files), QStringList{signalFileName});
}

void TestDockStatisticsFile::openedFileKeepsItsContent()
{
    constexpr qint64 firstBytes = 10;
    QVERIFY(invokeStatistics(*fixture->dock));
    const QByteArray json = contents(tempFile());
    QFile reader(tempFile());
    QVERIFY(reader.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
    QByteArray seen = reader.read(firstBytes);
    fixture->dock->updateStatistics(0, 0, 0, 1, 1);
    seen += reader.readAll();
    QCOMPARE(seen, json);
}

void TestDockStatisticsFile::otherFileIsWrittenWithoutTempFolder()
{
    // A file with the name of the folder: the folder cannot be created, even as root.
    QFile blocker(QDir(temp->path()).filePath(u"Tarvoline"_s));
    QVERIFY(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    QVERIFY(invokeStatistics(*fixture->dock));
    QVERIFY(!contents(appDataFile()).isEmpty());
    QVERIFY(!QFile::exists(tempFile()));
    QCOMPARE(probe->logView()->toPlainText(), QString());
    QCOMPARE(probe->statusLabel()->text(), u"Inaktiv"_s);
    QVERIFY(fixture->boxes.shown().isEmpty());
}

void TestDockStatisticsFile::tempFileIsWrittenWithoutDataFolder()
{
    QVERIFY(QDir().mkpath(QFileInfo(appDataFile()).path()));
    QVERIFY(QDir().mkdir(appDataFile())); // a folder of the file's name
    QVERIFY(invokeStatistics(*fixture->dock));
    QVERIFY(!contents(tempFile()).isEmpty());
}

void TestDockStatisticsFile::runningReceiverWritesNoFile()
{
    fixture->dock->startReceiver();
    QVERIFY(probe->engine().isRunning());
    QVERIFY(QMetaObject::invokeMethod(&probe->engine(), "publishStatistics"));
    fixture->dock->stopReceiver();
    QVERIFY(!QFile::exists(tempFile()));
    QVERIFY(!QFile::exists(appDataFile()));
}

void TestDockStatisticsFile::slotIsConnectableToTheEnginesSignal()
{
    QVERIFY(connect(&probe->engine(), &SrtlaEngine::statisticsChanged, fixture->dock.get(),
                    &TarvolineDock::updateStatistics));
    Q_EMIT probe->engine().statisticsChanged(1, 2, 3.0, 4, 5);
    QCOMPARE(probe->lastPacketCount(), quint64(4));
}

QTEST_MAIN(TestDockStatisticsFile)
#include "tst_dock_statisticsfile.moc"
