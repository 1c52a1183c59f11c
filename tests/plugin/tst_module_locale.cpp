// SPDX-License-Identifier: GPL-2.0-or-later
// The module's entry points for its texts.
#include "testkit/obsdouble.h"

#include <QTest>

using namespace Qt::StringLiterals;

MODULE_EXPORT void obs_module_set_pointer(obs_module_t *module);

class TestModuleLocale : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void localeIsLoadedForTheModuleWithGermanAsDefault();
    void secondLocaleDestroysTheFirstBeforeItLoads();
    void freeingTheLocaleLeavesNoLookup();
    void localeWithoutAFileFallsBackToGerman();
    void noLocaleFileAtAllLeavesNoLookup();
};

void TestModuleLocale::init()
{
    ObsDouble::reset();
}

void TestModuleLocale::cleanup()
{
    obs_module_free_locale();
    obs_module_set_pointer(nullptr);
    QCOMPARE(ObsDouble::openLookups(), 0);
    QCOMPARE(ObsDouble::misuses(), QStringList());
}

void TestModuleLocale::localeIsLoadedForTheModuleWithGermanAsDefault()
{
    static int object = 0;
    auto *const handle = reinterpret_cast<obs_module_t *>(&object);
    obs_module_set_pointer(handle);
    obs_module_set_locale("de-DE");
    QCOMPARE(ObsDouble::lookupModule(), handle);
    QCOMPARE(ObsDouble::lookupLocale(), u"de-DE"_s);
    const char *text = nullptr;
    QVERIFY(obs_module_get_string("PluginName", &text));
    QCOMPARE(QString::fromUtf8(text), u"Tarvoline SRTLA"_s);
    QVERIFY(!obs_module_get_string("NoSuchText", &text));
}

void TestModuleLocale::secondLocaleDestroysTheFirstBeforeItLoads()
{
    ObsDouble::setLocaleFiles({u"de-DE"_s, u"en-US"_s});
    obs_module_set_locale("de-DE");
    obs_module_set_locale("en-US");
    QCOMPARE(ObsDouble::calls(),
             (QStringList{u"obs_module_load_locale"_s, u"text_lookup_destroy"_s, u"obs_module_load_locale"_s}));
    QCOMPARE(ObsDouble::openLookups(), 1);
    QCOMPARE(ObsDouble::lookupLocale(), u"en-US"_s);
}

void TestModuleLocale::freeingTheLocaleLeavesNoLookup()
{
    obs_module_set_locale("de-DE");
    obs_module_free_locale();
    QCOMPARE(ObsDouble::openLookups(), 0);
    const char *text = nullptr;
    QVERIFY(!obs_module_get_string("PluginName", &text));
    obs_module_free_locale();
}

void TestModuleLocale::localeWithoutAFileFallsBackToGerman()
{
    obs_module_set_locale("tlh-KL");
    QCOMPARE(ObsDouble::lookupLocale(), u"de-DE"_s);
    const char *text = nullptr;
    QVERIFY(obs_module_get_string("PluginName", &text));
}

void TestModuleLocale::noLocaleFileAtAllLeavesNoLookup()
{
    obs_module_set_locale("de-DE");
    ObsDouble::setLocaleFiles({});
    obs_module_set_locale("de-DE");
    QCOMPARE(ObsDouble::openLookups(), 0);
    const char *text = "untouched";
    QVERIFY(!obs_module_get_string("PluginName", &text));
    QCOMPARE(QString::fromUtf8(text), u"untouched"_s);
    // A second call must not destroy the previous table again.
    obs_module_set_locale("de-DE");
}

QTEST_MAIN(TestModuleLocale)
#include "tst_module_locale.moc"
