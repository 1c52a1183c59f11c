// SPDX-License-Identifier: GPL-2.0-or-later
#include "testkit/obsdouble.h"

#include "testkit/obsdouble_state.h"

#include <utility>

namespace ObsDouble {

State &state()
{
    static State theState;
    return theState;
}

obs_data *newData(const QVariantMap &values)
{
    state().data.push_back(std::make_unique<obs_data>());
    obs_data *data = state().data.back().get();
    data->values = values;
    state().living.insert(data);
    return data;
}

obs_source *newSource(const QString &name, const QString &type, const QVariantMap &settings)
{
    state().sources.push_back(std::make_unique<obs_source>());
    obs_source *source = state().sources.back().get();
    source->name = name;
    source->type = type;
    source->settings = newData(settings);
    state().living.insert(source);
    return source;
}

obs_source *findSource(const QString &name)
{
    for (const std::unique_ptr<obs_source> &source : state().sources) {
        if (source->name == name && state().living.contains(source.get())) {
            return source.get();
        }
    }
    return nullptr;
}

namespace {

obs_source *findOrAddScene(const QString &name)
{
    obs_source *source = findSource(name);
    if (!source) {
        source = newSource(name, QStringLiteral("scene"), {});
        source->scene = std::make_unique<obs_scene>();
        source->scene->source = source;
        state().living.insert(source->scene.get());
    }
    return source;
}

} // namespace

void reset()
{
    state().mainWindow.reset();
    state() = State();
    state().mainWindow = std::make_unique<QMainWindow>();
    setCurrentScene(CurrentScene::Scene);
}

const QStringList &calls()
{
    return state().calls;
}

void clearCalls()
{
    state().calls.clear();
}

const QList<LogLine> &logLines()
{
    return state().logLines;
}

int openReferences()
{
    int taken = 0;
    for (const std::unique_ptr<obs_source> &source : state().sources) {
        taken += source->taken;
    }
    for (const std::unique_ptr<obs_data> &data : state().data) {
        taken += data->taken;
    }
    return taken;
}

const QStringList &misuses()
{
    return state().misuses;
}

bool hasSource(const QString &name)
{
    return findSource(name) != nullptr;
}

QString sourceType(const QString &name)
{
    const obs_source *source = findSource(name);
    return source ? source->type : QString();
}

QVariantMap sourceSettings(const QString &name)
{
    const obs_source *source = findSource(name);
    return source ? source->settings->values : QVariantMap();
}

int updateCount(const QString &name)
{
    const obs_source *source = findSource(name);
    return source ? source->updates : 0;
}

void addSource(const QString &name, const QString &type, const QVariantMap &settings)
{
    newSource(name, type, settings);
}

void renameSource(const QString &name, const QString &newName)
{
    if (obs_source *source = findSource(name)) {
        source->name = newName;
    }
}

QStringList itemsOfScene(const QString &scene)
{
    const obs_source *source = findSource(scene);
    return source && source->scene ? source->scene->items : QStringList();
}

void addSceneItem(const QString &scene, const QString &source)
{
    findOrAddScene(scene)->scene->items.append(source);
}

void setCurrentScene(CurrentScene kind, const QString &scene)
{
    switch (kind) {
    case CurrentScene::None:
        state().currentScene = nullptr;
        break;
    case CurrentScene::Scene:
        state().currentScene = findOrAddScene(scene);
        break;
    case CurrentScene::NotAScene:
        state().currentScene = newSource(QStringLiteral("Keine Szene"), QStringLiteral("color_source"), {});
        break;
    }
}

void failSourceCreation(bool fail)
{
    state().sourceCreationFails = fail;
}

void failDockRegistration(bool fail)
{
    state().dockRegistrationFails = fail;
}

void onDockRemoval(std::function<void(QWidget *)> action)
{
    state().dockRemovalAction = std::move(action);
}

const QList<RegisteredDock> &docks()
{
    return state().docks;
}

void quitFrontend()
{
    state().mainWindow.reset();
    state().docks.clear();
}

void setLocaleFiles(const QStringList &languages)
{
    state().localeFiles = languages;
}

int openLookups()
{
    return static_cast<int>(state().lookups.size());
}

QString lookupLocale()
{
    return state().lookupLocale;
}

obs_module_t *lookupModule()
{
    return state().lookupModule;
}

} // namespace ObsDouble
