// SPDX-License-Identifier: GPL-2.0-or-later
// The five-line log, the status line, the signal file.
#include "dockfixture.h"

#include <QAbstractTextDocumentLayout>
#include <QDir>
#include <QGroupBox>
#include <QJsonDocument>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTextDocument>
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

class TestDockLog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        systemTemp = QDir::tempPath();
    }
    void init()
    {
        QCoreApplication::setOrganizationName(u"tst_dock_log"_s);
        QCoreApplication::setApplicationName(u"host"_s);
        temp.emplace();
        useTempPath(temp->path());
        QFile::remove(appDataFile());
        fixture.emplace();
        probe.emplace(fixture->buildQuiet());
    }
    void cleanup()
    {
        probe.reset();
        fixture.reset();
        QFile::remove(appDataFile());
        QDir().rmdir(appDataFile()); // where a test puts a folder in its place
        useTempPath(systemTemp);
        temp.reset();
    }

    void keepsTheLastFiveLinesInView()
    {
        fixture->dock->show();
        for (const QString &line : {u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s, u"f"_s}) {
            fixture->dock->appendLog(line);
        }
        QCOMPARE(probe->logView()->toPlainText(), u"b\nc\nd\ne\nf"_s);
        QVERIFY(probe->logView()->textCursor().atEnd());
        QVERIFY(!probe->logView()->textCursor().hasSelection());
        QCOMPARE(probe->logView()->verticalScrollBar()->value(), probe->logView()->verticalScrollBar()->maximum());
    }

    void aBurstIsNotLaidOutLineByLine()
    {
        constexpr int burst = 1000;
        fixture->dock->show();
        for (QGroupBox *box : fixture->dock->findChildren<QGroupBox *>()) {
            box->setChecked(true);
        }
        QVERIFY(QTest::qWaitForWindowExposed(fixture->dock.get()));
        int layouts = 0;
        connect(probe->logView()->document()->documentLayout(), &QAbstractTextDocumentLayout::update, this,
                [&layouts] { ++layouts; });
        const QString longLine =
            u"REG1 | Neue Gruppe 3f4041424344 von 192.0.2.7:%1 und noch mehr, damit sie umbricht"_s;
        for (int number = 1; number <= burst; ++number) {
            fixture->dock->appendLog(longLine.arg(number));
            // Whoever asks in between gets the truth.
            QVERIFY(probe->logView()->toPlainText().endsWith(longLine.arg(number)));
            QVERIFY(probe->logView()->textCursor().atEnd());
        }
        QStringList lastFive;
        for (int number = burst - 4; number <= burst; ++number) {
            lastFive.append(longLine.arg(number));
        }
        QCOMPARE(probe->logView()->toPlainText(), lastFive.join(u'\n'));
        QVERIFY2(layouts < burst / 10, qPrintable(QString::number(layouts)));

        QTRY_VERIFY(probe->logView()->updatesEnabled());
        QVERIFY(probe->logView()->document()->isLayoutEnabled());
        const QScrollBar *const bar = probe->logView()->verticalScrollBar();
        QVERIFY(bar->maximum() > 0);
        QVERIFY(bar->value() > 0);
        QVERIFY(probe->logView()->viewport()->rect().contains(probe->logView()->cursorRect()));
        QCOMPARE(probe->logView()->toPlainText(), lastFive.join(u'\n'));
        // A few lines are laid out at once again.
        const int before = layouts;
        fixture->dock->appendLog(u"b"_s);
        QVERIFY(layouts > before);
    }

    void lineWithALineFeedCountsAsTwoAtTheNextCall()
    {
        for (const QString &line : {u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e1\ne2"_s}) {
            fixture->dock->appendLog(line);
        }
        QCOMPARE(probe->logView()->toPlainText(), u"a\nb\nc\nd\ne1\ne2"_s);
        fixture->dock->appendLog(u"f"_s);
        QCOMPARE(probe->logView()->toPlainText(), u"c\nd\ne1\ne2\nf"_s);
    }

    void emptyLineShowsUntilTheNextCall()
    {
        fixture->dock->appendLog(u"a"_s);
        fixture->dock->appendLog(QString());
        QCOMPARE(probe->logView()->toPlainText(), u"a\n"_s);
        fixture->dock->appendLog(u"b"_s);
        QCOMPARE(probe->logView()->toPlainText(), u"a\nb"_s);
    }

    void linesAreShownAsGivenWithoutMarkup()
    {
        fixture->dock->appendLog(u"  <b>REG1</b> | &amp; ä "_s);
        QCOMPARE(probe->logView()->toPlainText(), u"  <b>REG1</b> | &amp; ä "_s);
    }

    void nothingOfTheLogGoesToTheObsLog()
    {
        fixture->dock->appendLog(u"a"_s);
        QVERIFY(ObsDouble::logLines().isEmpty());
    }

    void runningStateDrivesStatusLineAndButtons()
    {
        Q_EMIT probe->engine().runningChanged(true);
        QCOMPARE(probe->statusLabel()->text(), u"Aktiv"_s);
        QVERIFY(!probe->startButton()->isEnabled());
        QVERIFY(probe->stopButton()->isEnabled());
        Q_EMIT probe->engine().runningChanged(false);
        QCOMPARE(probe->statusLabel()->text(), u"Inaktiv"_s);
        QVERIFY(probe->startButton()->isEnabled());
        QVERIFY(!probe->stopButton()->isEnabled());
    }

    void onlyTheBindErrorTurnsTheStatusLineToFehler_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("status");
        QTest::newRow("bind error") << u"UDP 5000 konnte nicht geöffnet werden: Address in use"_s << u"Fehler"_s;
        QTest::newRow("other port, no reason") << u"UDP 1 konnte nicht geöffnet werden: "_s << u"Fehler"_s;
        QTest::newRow("upper case") << u"UDP 1 KONNTE NICHT GEÖFFNET WERDEN: x"_s << u"Fehler"_s;
        QTest::newRow("running") << u"Läuft auf UDP 5000 → 127.0.0.1:5002"_s << u"Inaktiv"_s;
        QTest::newRow("stopped") << u"Gestoppt"_s << u"Inaktiv"_s;
    }
    void onlyTheBindErrorTurnsTheStatusLineToFehler()
    {
        QFETCH(QString, text);
        Q_EMIT probe->engine().statusChanged(text);
        QTEST(probe->statusLabel()->text(), "status");
        QVERIFY(probe->startButton()->isEnabled());
        QVERIFY(!probe->stopButton()->isEnabled());
    }

    void gestopptLeavesFehlerStanding()
    {
        Q_EMIT probe->engine().statusChanged(u"UDP 1 konnte nicht geöffnet werden: x"_s);
        Q_EMIT probe->engine().statusChanged(u"Gestoppt"_s);
        QCOMPARE(probe->statusLabel()->text(), u"Fehler"_s);
    }

    void signalFileIsWrittenToBothFolders()
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

    void signalFileIsWrittenByMetaObjectIndexToo()
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

    void signalFileIsReplacedAsAWhole()
    {
        QVERIFY(invokeStatistics(*fixture->dock));
        fixture->dock->updateStatistics(0, 0, 0, 1, 1);
        const QByteArray json = contents(tempFile());
        QCOMPARE(json.count('{'), 1);
        QCOMPARE(QJsonDocument::fromJson(json).object().value("packets"_L1).toInt(), 1);
        QCOMPARE(QDir(QFileInfo(tempFile()).path()).entryList(QDir::Files), QStringList{signalFileName});
    }

    void readerOfTheSignalFileReadsOneVersionToItsEnd()
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

    void unusableTempFolderLeavesTheOtherFileWritten()
    {
        // A file where the folder should be: nobody can make it, not even an administrator.
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

    void unusableDataFolderLeavesTheTempFileWritten()
    {
        QVERIFY(QDir().mkpath(QFileInfo(appDataFile()).path()));
        QVERIFY(QDir().mkdir(appDataFile())); // a folder of the file's name
        QVERIFY(invokeStatistics(*fixture->dock));
        QVERIFY(!contents(tempFile()).isEmpty());
    }

    void noSignalFileWhileTheReceiverRuns()
    {
        fixture->dock->startReceiver();
        QVERIFY(probe->engine().isRunning());
        QVERIFY(QMetaObject::invokeMethod(&probe->engine(), "publishStatistics"));
        fixture->dock->stopReceiver();
        QVERIFY(!QFile::exists(tempFile()));
        QVERIFY(!QFile::exists(appDataFile()));
    }

    void updateStatisticsFitsTheEnginesSignal()
    {
        QVERIFY(connect(&probe->engine(), &SrtlaEngine::statisticsChanged, fixture->dock.get(),
                        &TarvolineDock::updateStatistics));
        Q_EMIT probe->engine().statisticsChanged(1, 2, 3.0, 4, 5);
        QCOMPARE(probe->lastPacketCount(), quint64(4));
    }

private:
    [[nodiscard]] QString tempFile() const { return QDir(temp->path()).filePath(u"Tarvoline/"_s + signalFileName); }
    static void useTempPath(const QString &path)
    {
        // The one is read by Unix systems, the others by Windows.
        for (const char *name : {"TMPDIR", "TMP", "TEMP"}) {
            qputenv(name, QDir::toNativeSeparators(path).toLocal8Bit());
        }
    }

    QString systemTemp;
    std::optional<QTemporaryDir> temp;
    std::optional<DockFixture> fixture;
    std::optional<DockProbe> probe;
};

QTEST_MAIN(TestDockLog)
#include "tst_dock_log.moc"
