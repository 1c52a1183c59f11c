// SPDX-License-Identifier: GPL-2.0-or-later
// Loads the module with LoadLibrary, with the libobs double as obs.dll and obs-frontend-api.dll, and calls its
// functions in OBS's order. The environment variable TARVOLINE_TEST_MODULE replaces the path of the module.
#include "testkit/obsdouble.h"
#include "testkit/timelimits.h"
#include "testkit/udpport.h"

#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QSettings>
#include <QTest>

#include <windows.h>

using namespace Qt::StringLiterals;

namespace {

constexpr quint16 listenPort = 5000;

using LogLines = QList<ObsDouble::LogLine>;
const ObsDouble::LogLine loadLine{300, u"[Tarvoline SRTLA] Plugin 0.9.2 wird geladen"_s};
const ObsDouble::LogLine failureLine{100, u"[Tarvoline SRTLA] Dock konnte nicht hinzugefügt werden"_s};
const ObsDouble::LogLine unloadLine{300, u"[Tarvoline SRTLA] Plugin sicher entladen"_s};

/// A loaded module, with OBS's calls to it.
class LoadedModule
{
public:
    explicit LoadedModule(const QString &file)
        : library(LoadLibraryW(reinterpret_cast<const wchar_t *>(QDir::toNativeSeparators(file).utf16())))
    {
    }
    ~LoadedModule()
    {
        // OBS does not unload the code of modules. Here, pending events must not call it afterwards.
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        FreeLibrary(library);
    }
    Q_DISABLE_COPY_MOVE(LoadedModule)

    [[nodiscard]] bool isValid() const { return library != nullptr; }

    template<typename Function> [[nodiscard]] Function *find(const char *name) const
    {
        return reinterpret_cast<Function *>(reinterpret_cast<void *>(GetProcAddress(library, name)));
    }

    bool open(const char *locale) const
    {
        find<void(obs_module_t *)>("obs_module_set_pointer")(handle());
        find<void(const char *)>("obs_module_set_locale")(locale);
        return find<bool()>("obs_module_load")();
    }
    void close() const
    {
        find<void()>("obs_module_free_locale")();
        find<void()>("obs_module_unload")();
    }
    static obs_module_t *handle()
    {
        static int place = 0;
        return reinterpret_cast<obs_module_t *>(&place);
    }

private:
    HMODULE library;
};

/// Output of the system's reg.exe, so that the registry is not read by Qt, which has written it.
QString registryOutput(const QStringList &arguments)
{
    QProcess reg;
    reg.start(u"reg"_s, arguments);
    reg.waitForFinished(waitMs);
    return QString::fromLocal8Bit(reg.readAllStandardOutput());
}

} // namespace

class TestLoadLibrary : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void loadsAndUnloadsInOrderOfObs();
    void receivesWhileLoadedAndAgainAfterAReload();
    void failedRegistrationLeavesNoDock();
    void settingsAreInTheRegistry();

private:
    static QString moduleFile() { return qEnvironmentVariable("TARVOLINE_TEST_MODULE", QStringLiteral(MODULE_FILE)); }
};

void TestLoadLibrary::init()
{
    ObsDouble::reset();
    QSettings(u"Tarvoline"_s, u"SRTLA OBS Plugin"_s).clear();
}

void TestLoadLibrary::cleanup()
{
    ObsDouble::quitFrontend();
    QCOMPARE(ObsDouble::misuses(), QStringList());
}

void TestLoadLibrary::loadsAndUnloadsInOrderOfObs()
{
    LoadedModule module(moduleFile());
    QVERIFY2(module.isValid(), qPrintable(u"error %1"_s.arg(GetLastError())));

    QCOMPARE(module.find<uint32_t()>("obs_module_ver")(), uint32_t(0x1F010001));
    module.find<void(obs_module_t *)>("obs_module_set_pointer")(LoadedModule::handle());
    QCOMPARE(module.find<obs_module_t *()>("obs_current_module")(), LoadedModule::handle());
    module.find<void(const char *)>("obs_module_set_locale")("de-DE");
    QCOMPARE(ObsDouble::openLookups(), 1);
    const char *text = nullptr;
    module.find<bool(const char *, const char **)>("obs_module_get_string")("PluginName", &text);
    QCOMPARE(QString::fromUtf8(text), u"Tarvoline SRTLA"_s);
    QCOMPARE(QString::fromUtf8(module.find<const char *()>("obs_module_description")()),
             u"Native Tarvoline SRTLA receiver integration for OBS Studio"_s);

    QVERIFY(module.find<bool()>("obs_module_load")());
    QCOMPARE(ObsDouble::docks().size(), 1);
    QCOMPARE(ObsDouble::docks().first().id, u"tarvoline-srtla-dock"_s);
    module.find<void()>("obs_module_free_locale")();
    QCOMPARE(ObsDouble::openLookups(), 0);
    module.find<void()>("obs_module_unload")();
    QVERIFY(ObsDouble::docks().isEmpty());
    QCOMPARE(ObsDouble::logLines(), (LogLines{loadLine, unloadLine}));
}

void TestLoadLibrary::receivesWhileLoadedAndAgainAfterAReload()
{
    for (int round = 0; round < 3; ++round) {
        ObsDouble::reset();
        LoadedModule module(moduleFile());
        QVERIFY(module.open("de-DE"));
        QTRY_VERIFY_WITH_TIMEOUT(!portIsFree(listenPort), waitMs); // the receiver starts with OBS
        const QList<QPushButton *> buttons = ObsDouble::docks().first().widget->findChildren<QPushButton *>();
        for (QPushButton *button : buttons) {
            if (button->text() == u"Quelle reparieren"_s) {
                button->click();
            }
        }
        const bool hasSource = ObsDouble::hasSource(u"Tarvoline SRTLA"_s);
        module.close();
        QVERIFY2(hasSource, qPrintable(ObsDouble::calls().join(u' ')));
        QVERIFY(portIsFree(listenPort));
        QCOMPARE(ObsDouble::openReferences(), 0);
    }
}

void TestLoadLibrary::failedRegistrationLeavesNoDock()
{
    ObsDouble::failDockRegistration(true);
    {
        LoadedModule module(moduleFile());
        QVERIFY(!module.open("de-DE"));
        QCOMPARE(ObsDouble::logLines(), (LogLines{loadLine, failureLine}));
        const QWidgetList widgets = QApplication::allWidgets();
        for (const QWidget *widget : widgets) {
            QVERIFY(qstrcmp(widget->metaObject()->className(), "TarvolineDock") != 0);
        }
        QVERIFY(portIsFree(listenPort));
        module.close();
        QCOMPARE(ObsDouble::logLines(), (LogLines{loadLine, failureLine, unloadLine}));
    }
    ObsDouble::reset();
    LoadedModule again(moduleFile());
    QVERIFY(again.open("de-DE"));
    QCOMPARE(ObsDouble::docks().size(), 1);
    again.close();
}

void TestLoadLibrary::settingsAreInTheRegistry()
{
    LoadedModule module(moduleFile());
    QVERIFY(module.open("de-DE"));
    QLineEdit *passphrase = nullptr;
    const QList<QLineEdit *> edits = ObsDouble::docks().first().widget->findChildren<QLineEdit *>();
    for (QLineEdit *edit : edits) {
        if (!edit->isReadOnly() && edit->echoMode() == QLineEdit::Password) {
            passphrase = edit;
        }
    }
    QVERIFY(passphrase);
    passphrase->setText(u"geheimnis1234"_s);
    Q_EMIT passphrase->editingFinished();
    module.close();
    const QString output = registryOutput({u"query"_s, u"HKCU\\Software\\Tarvoline\\SRTLA OBS Plugin"_s});
    QVERIFY2(output.contains("geheimnis1234"_L1), qPrintable(output));
}

QTEST_MAIN(TestLoadLibrary)
#include "tst_loadlibrary.moc"
