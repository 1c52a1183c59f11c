// SPDX-License-Identifier: GPL-2.0-or-later
// The built module, loaded by the real libobs without a front end, so that the registration of the dock fails.
#include "testkit/timelimits.h"

#include <QApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <mutex>

#include <obs-module.h>

using namespace Qt::StringLiterals;

namespace {

struct Line
{
    int level = 0;
    QString text;
    bool operator==(const Line &) const = default;
};

std::mutex linesMutex;
QList<Line> lines;

QString formatted(const char *format, va_list arguments)
{
    return QString::vasprintf(format, arguments);
}

void keepLine(int level, const char *format, va_list arguments, void *)
{
    const std::lock_guard lock(linesMutex);
    lines.append({level, formatted(format, arguments)});
}

QList<Line> pluginLines()
{
    const std::lock_guard lock(linesMutex);
    QList<Line> found;
    for (const Line &line : std::as_const(lines)) {
        if (line.text.startsWith("[Tarvoline SRTLA]"_L1)) {
            found.append(line);
        }
    }
    return found;
}

bool logHas(const QString &part)
{
    const std::lock_guard lock(linesMutex);
    return std::any_of(lines.cbegin(), lines.cend(), [&part](const Line &line) { return line.text.contains(part); });
}

} // namespace

class TestRealModule : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();
    void libobsLoadsTheModuleAndItsTexts();
    void unknownLocaleKeepsTheGermanTexts();
    void missingLocaleFolderIsNoError();
    void loadWithoutAFrontendFailsAndLogs();

private:
    static obs_module_t *open(const QString &dataFolder);

    QProcess display;
    std::unique_ptr<QTemporaryDir> folder;
};

void TestRealModule::initTestCase()
{
    // libobs needs an X display to start. Without "-noreset" the server restarts when its last client disconnects and
    // rejects connections in the meantime.
    display.start(u"Xvfb"_s, {u"-displayfd"_s, u"1"_s, u"-nolisten"_s, u"tcp"_s, u"-noreset"_s});
    QTRY_VERIFY2_WITH_TIMEOUT(display.canReadLine(), qPrintable(display.errorString()), waitMs);
    qputenv("DISPLAY", ':' + display.readLine().trimmed());
}

void TestRealModule::cleanupTestCase()
{
    display.terminate();
    QVERIFY(display.waitForFinished(waitMs));
}

void TestRealModule::init()
{
    lines.clear();
    base_set_log_handler(keepLine, nullptr);
    folder = std::make_unique<QTemporaryDir>();
    QVERIFY(obs_startup("en-US", QFile::encodeName(folder->path()).constData(), nullptr));
}

void TestRealModule::cleanup()
{
    obs_shutdown();
    folder.reset();
}

void TestRealModule::libobsLoadsTheModuleAndItsTexts()
{
    obs_module_t *module = open(QString::fromUtf8(LOCALE_FOLDER).chopped(qsizetype(qstrlen("/locale"))));
    QVERIFY(module);
    const char *text = nullptr;
    QVERIFY(obs_module_get_locale_string(module, "PluginName", &text));
    QCOMPARE(QString::fromUtf8(text), u"Tarvoline SRTLA"_s);
    QVERIFY(obs_module_get_locale_string(module, "Description", &text));
    QVERIFY(QString::fromUtf8(text).startsWith(u"Receives bonded"_s));
    QCOMPARE(QString::fromUtf8(obs_get_module_description(module)),
             u"Native Tarvoline SRTLA receiver integration for OBS Studio"_s);
    QVERIFY(!logHas(u"Failed to load"_s));
}

void TestRealModule::unknownLocaleKeepsTheGermanTexts()
{
    obs_module_t *module = open(QString::fromUtf8(LOCALE_FOLDER).chopped(qsizetype(qstrlen("/locale"))));
    QVERIFY(module);
    for (const char *locale : {"tlh-KL", "", "de-DE", "tlh-KL"}) {
        obs_set_locale(locale);
        const char *text = nullptr;
        QVERIFY(obs_module_get_locale_string(module, "Description", &text));
        QVERIFY(QString::fromUtf8(text).startsWith(u"Empfängt"_s));
    }
}

void TestRealModule::missingLocaleFolderIsNoError()
{
    obs_module_t *module = open(folder->path());
    QVERIFY(module);
    const char *text = "untouched";
    QVERIFY(!obs_module_get_locale_string(module, "PluginName", &text));
    QCOMPARE(QString::fromUtf8(text), u"untouched"_s);
    obs_set_locale("de-DE");
    QVERIFY(!obs_module_get_locale_string(module, "PluginName", &text));
}

void TestRealModule::loadWithoutAFrontendFailsAndLogs()
{
    obs_module_t *module = open(QString::fromUtf8(LOCALE_FOLDER).chopped(qsizetype(qstrlen("/locale"))));
    QVERIFY(module);
    QVERIFY(!obs_init_module(module));
    const QList<Line> expected{{LOG_INFO, u"[Tarvoline SRTLA] Plugin 0.9.2 wird geladen"_s},
                               {LOG_ERROR, u"[Tarvoline SRTLA] Dock konnte nicht hinzugefügt werden"_s}};
    QCOMPARE(pluginLines(), expected);
    QVERIFY(QApplication::allWidgets().isEmpty());
}

obs_module_t *TestRealModule::open(const QString &dataFolder)
{
    obs_module_t *module = nullptr;
    const int code = obs_open_module(&module, MODULE_FILE, QFile::encodeName(dataFolder).constData());
    return code == MODULE_SUCCESS ? module : nullptr;
}

QTEST_MAIN(TestRealModule)
#include "tst_realmodule.moc"
