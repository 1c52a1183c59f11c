// SPDX-License-Identifier: GPL-2.0-or-later
// Creation and update of the OBS media source, and release of all references.
#include "docktest.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QTest>
#include <QTextEdit>

using namespace Qt::StringLiterals;

namespace {

const QString sourceName = u"Tarvoline SRTLA"_s;
const QString plainUrl = u"srt://127.0.0.1:5002?mode=listener&latency=2000&lossmaxttl=40"_s;
const QString createdLine = u"OBS | Neue SRT-Quelle angelegt"_s;
const QString updatedLine = u"OBS | Vorhandene SRT-Quelle aktualisiert"_s;

QVariantMap settingsWithUrl(const QString &url)
{
    return {{u"input"_s, url},
            {u"is_local_file"_s, false},
            {u"restart_on_activate"_s, true},
            {u"close_when_inactive"_s, false}};
}

} // namespace

class TestDockMediaSource : public QuietDockTest
{
    Q_OBJECT

private Q_SLOTS:
    void createsTheSourceInTheCurrentSceneWithFourSettings();
    void creationCallsLibobsInOrder();
    void updateCallsLibobsInOrder();
    void secondRepairUpdatesAndAddsNoSecondSceneItem();
    void portAndPassphraseAreAppliedByTheNextRepair();
    void updateKeepsTheUsersOtherSettings();
    void sourceOfAnotherTypeIsUpdated();
    void sourceOfAnotherSceneIsUpdatedButNotAddedHere();
    void existingSourceNeedsNoScene();
    void renamedSourceIsKeptAndANewOneIsCreated();
    void failureShowsTheWarningAndLeavesNoSource_data();
    void failureShowsTheWarningAndLeavesNoSource();
    void repairWorksOnceThereIsAScene();
    void sourceOutlivesReceiverAndDock();
};

void TestDockMediaSource::createsTheSourceInTheCurrentSceneWithFourSettings()
{
    fixture->dock->createOrRepairSource();
    QCOMPARE(ObsDouble::sourceType(sourceName), u"ffmpeg_source"_s);
    QCOMPARE(ObsDouble::sourceSettings(sourceName), settingsWithUrl(plainUrl));
    QCOMPARE(ObsDouble::itemsOfScene(), QStringList{sourceName});
    QCOMPARE(probe->logView()->toPlainText(), createdLine);
    QVERIFY(fixture->boxes.shown().isEmpty());
}

void TestDockMediaSource::creationCallsLibobsInOrder()
{
    QVERIFY(probe->ensureMediaSource());
    QCOMPARE(ObsDouble::calls(), (QStringList{u"obs_get_source_by_name"_s, u"obs_data_create"_s, u"obs_data_set_bool"_s,
                                              u"obs_data_set_string"_s, u"obs_data_set_bool"_s, u"obs_data_set_bool"_s,
                                              u"obs_source_create"_s, u"obs_data_release"_s,
                                              u"obs_frontend_get_current_scene"_s, u"obs_scene_from_source"_s,
                                              u"obs_scene_add"_s, u"obs_source_release"_s, u"obs_source_release"_s}));
}

void TestDockMediaSource::updateCallsLibobsInOrder()
{
    ObsDouble::addSource(sourceName, u"ffmpeg_source"_s);
    QVERIFY(probe->ensureMediaSource());
    QCOMPARE(ObsDouble::calls(),
             (QStringList{u"obs_get_source_by_name"_s, u"obs_source_get_settings"_s, u"obs_data_set_string"_s,
                          u"obs_data_set_bool"_s, u"obs_data_set_bool"_s, u"obs_data_set_bool"_s,
                          u"obs_source_update"_s, u"obs_data_release"_s, u"obs_source_release"_s}));
}

void TestDockMediaSource::secondRepairUpdatesAndAddsNoSecondSceneItem()
{
    fixture->dock->createOrRepairSource();
    fixture->dock->createOrRepairSource();
    QCOMPARE(ObsDouble::itemsOfScene(), QStringList{sourceName});
    QCOMPARE(ObsDouble::updateCount(sourceName), 1);
    QCOMPARE(probe->logView()->toPlainText(), createdLine + u'\n' + updatedLine);
}

void TestDockMediaSource::portAndPassphraseAreAppliedByTheNextRepair()
{
    fixture->dock->createOrRepairSource();
    probe->listenPortEdit()->setText(u"6000"_s);
    probe->passwordEdit()->setText(u"geheim ä"_s);
    QCOMPARE(ObsDouble::sourceSettings(sourceName).value(u"input"_s).toString(), plainUrl);
    fixture->dock->createOrRepairSource();
    QCOMPARE(ObsDouble::sourceSettings(sourceName).value(u"input"_s).toString(),
             u"srt://127.0.0.1:6002?mode=listener&latency=2000&lossmaxttl=40&passphrase=geheim ä"_s);
}

void TestDockMediaSource::updateKeepsTheUsersOtherSettings()
{
    ObsDouble::addSource(sourceName, u"ffmpeg_source"_s,
                         {{u"hw_decode"_s, true}, {u"is_local_file"_s, true}, {u"input"_s, u"alt"_s}});
    QVERIFY(probe->ensureMediaSource());
    QVariantMap expected = settingsWithUrl(plainUrl);
    expected.insert(u"hw_decode"_s, true);
    QCOMPARE(ObsDouble::sourceSettings(sourceName), expected);
}

void TestDockMediaSource::sourceOfAnotherTypeIsUpdated()
{
    ObsDouble::addSource(sourceName, u"color_source"_s);
    QVERIFY(probe->ensureMediaSource());
    QCOMPARE(ObsDouble::sourceType(sourceName), u"color_source"_s);
    QCOMPARE(ObsDouble::sourceSettings(sourceName), settingsWithUrl(plainUrl));
    QCOMPARE(probe->logView()->toPlainText(), updatedLine);
}

void TestDockMediaSource::sourceOfAnotherSceneIsUpdatedButNotAddedHere()
{
    ObsDouble::addSource(sourceName, u"ffmpeg_source"_s);
    ObsDouble::addSceneItem(u"Andere"_s, sourceName);
    QVERIFY(probe->ensureMediaSource());
    QCOMPARE(ObsDouble::itemsOfScene(), QStringList());
    QCOMPARE(ObsDouble::itemsOfScene(u"Andere"_s), QStringList{sourceName});
}

void TestDockMediaSource::existingSourceNeedsNoScene()
{
    ObsDouble::addSource(sourceName, u"ffmpeg_source"_s);
    ObsDouble::setCurrentScene(ObsDouble::CurrentScene::None);
    QVERIFY(probe->ensureMediaSource());
}

void TestDockMediaSource::renamedSourceIsKeptAndANewOneIsCreated()
{
    fixture->dock->createOrRepairSource();
    ObsDouble::renameSource(sourceName, u"Meine Quelle"_s);
    fixture->dock->createOrRepairSource();
    QVERIFY(ObsDouble::hasSource(u"Meine Quelle"_s));
    QVERIFY(ObsDouble::hasSource(sourceName));
    QCOMPARE(ObsDouble::itemsOfScene().size(), 2);
    QCOMPARE(probe->logView()->toPlainText(), createdLine + u'\n' + createdLine);
}

void TestDockMediaSource::failureShowsTheWarningAndLeavesNoSource_data()
{
    QTest::addColumn<ObsDouble::CurrentScene>("scene");
    QTest::addColumn<bool>("creationFails");
    QTest::newRow("no scene") << ObsDouble::CurrentScene::None << false;
    QTest::newRow("current scene source is no scene") << ObsDouble::CurrentScene::NotAScene << false;
    QTest::newRow("source cannot be created") << ObsDouble::CurrentScene::Scene << true;
}

void TestDockMediaSource::failureShowsTheWarningAndLeavesNoSource()
{
    QFETCH(ObsDouble::CurrentScene, scene);
    QFETCH(bool, creationFails);
    ObsDouble::setCurrentScene(scene);
    ObsDouble::failSourceCreation(creationFails);
    QVERIFY(!probe->ensureMediaSource());
    QVERIFY(fixture->boxes.shown().isEmpty());
    fixture->dock->createOrRepairSource();

    QCOMPARE(fixture->boxes.shown().size(), 1);
    const ShownMessageBox box = fixture->boxes.shown().first();
    QCOMPARE(box.title, u"Quelle konnte nicht erstellt werden"_s);
    QCOMPARE(box.text, u"OBS konnte die Medienquelle nicht anlegen. Prüfe, ob eine Szene aktiv ist."_s);
    QCOMPARE(box.icon, QMessageBox::Warning);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(box.parent, fixture->dock.get());
    QVERIFY(!ObsDouble::hasSource(sourceName));
    QCOMPARE(probe->logView()->toPlainText(), QString());
}

void TestDockMediaSource::repairWorksOnceThereIsAScene()
{
    ObsDouble::setCurrentScene(ObsDouble::CurrentScene::None);
    fixture->dock->createOrRepairSource();
    QCOMPARE(fixture->boxes.shown().size(), 1);
    ObsDouble::setCurrentScene(ObsDouble::CurrentScene::Scene, u"Neue Szene"_s);
    fixture->dock->createOrRepairSource();
    QCOMPARE(fixture->boxes.shown().size(), 1);
    QCOMPARE(ObsDouble::itemsOfScene(u"Neue Szene"_s), QStringList{sourceName});
}

void TestDockMediaSource::sourceOutlivesReceiverAndDock()
{
    probe->autoSourceCheck()->setChecked(true);
    fixture->dock->startReceiver();
    fixture->dock->stopReceiver();
    fixture->dock->shutdown();
    fixture->dock.reset();
    QVERIFY(ObsDouble::hasSource(sourceName));
    QCOMPARE(ObsDouble::itemsOfScene(), QStringList{sourceName});
}

QTEST_MAIN(TestDockMediaSource)
#include "tst_dock_mediasource.moc"
