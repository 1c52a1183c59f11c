// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/obsdouble.h"

#include <QDockWidget>
#include <QMainWindow>
#include <QSet>

#include <algorithm>
#include <cstdarg>
#include <memory>
#include <vector>

#include <util/text-lookup.h>

// libobs leaves these types to whoever implements its functions.
struct obs_data
{
    int references = 1;
    int taken = 0; // of these by the plug-in
    QVariantMap values;
};

struct obs_scene
{
    struct obs_source *source = nullptr;
    QStringList items;
};

struct obs_source
{
    QString name;
    QString type;
    obs_data *settings = nullptr;
    std::unique_ptr<obs_scene> scene;
    int references = 1;
    int taken = 0; // of these by the plug-in
    int updates = 0;
};

struct text_lookup
{
    QString locale;
};

namespace {

struct State
{
    QStringList calls;
    QStringList misuses;
    QList<ObsDouble::LogLine> logLines;
    std::vector<std::unique_ptr<obs_source>> sources;
    std::vector<std::unique_ptr<obs_data>> data;
    QSet<const void *> living;
    obs_source *currentScene = nullptr;
    bool sourceCreationFails = false;

    std::unique_ptr<QMainWindow> mainWindow;
    QList<ObsDouble::RegisteredDock> docks;
    bool dockRegistrationFails = false;

    QStringList localeFiles{QStringLiteral("de-DE")};
    std::vector<std::unique_ptr<text_lookup>> lookups;
    QString lookupLocale;
    obs_module_t *lookupModule = nullptr;
};

State state;

// Objects are never freed before the next reset, so that a use after the last release can be told.
bool isAlive(const void *object, const char *function)
{
    if (state.living.contains(object)) {
        return true;
    }
    state.misuses.append(QString::fromLatin1(function));
    return false;
}

void record(const char *function)
{
    state.calls.append(QString::fromLatin1(function));
}

obs_data *newData(const QVariantMap &values = {})
{
    state.data.push_back(std::make_unique<obs_data>());
    obs_data *data = state.data.back().get();
    data->values = values;
    state.living.insert(data);
    return data;
}

obs_source *newSource(const QString &name, const QString &type, const QVariantMap &settings)
{
    state.sources.push_back(std::make_unique<obs_source>());
    obs_source *source = state.sources.back().get();
    source->name = name;
    source->type = type;
    source->settings = newData(settings);
    state.living.insert(source);
    return source;
}

obs_source *findSource(const QString &name)
{
    for (const std::unique_ptr<obs_source> &source : state.sources) {
        if (source->name == name && state.living.contains(source.get())) {
            return source.get();
        }
    }
    return nullptr;
}

obs_source *findOrAddScene(const QString &name)
{
    obs_source *source = findSource(name);
    if (!source) {
        source = newSource(name, QStringLiteral("scene"), {});
        source->scene = std::make_unique<obs_scene>();
        source->scene->source = source;
        state.living.insert(source->scene.get());
    }
    return source;
}

template<typename Object> Object *takeReference(Object *object)
{
    if (object) {
        ++object->references;
        ++object->taken;
    }
    return object;
}

template<typename Object> void releaseReference(Object *object, const char *function)
{
    if (!object) {
        return;
    }
    record(function);
    if (!isAlive(object, function)) {
        return;
    }
    if (object->taken == 0) {
        state.misuses.append(QString::fromLatin1(function));
        return;
    }
    --object->taken;
    if (--object->references == 0) {
        state.living.remove(object);
    }
}

} // namespace

namespace ObsDouble {

void reset()
{
    state.mainWindow.reset();
    state = State();
    state.mainWindow = std::make_unique<QMainWindow>();
    setCurrentScene(CurrentScene::Scene);
}

const QStringList &calls()
{
    return state.calls;
}

void clearCalls()
{
    state.calls.clear();
}

const QList<LogLine> &logLines()
{
    return state.logLines;
}

int openReferences()
{
    int taken = 0;
    for (const std::unique_ptr<obs_source> &source : state.sources) {
        taken += source->taken;
    }
    for (const std::unique_ptr<obs_data> &data : state.data) {
        taken += data->taken;
    }
    return taken;
}

const QStringList &misuses()
{
    return state.misuses;
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
        state.currentScene = nullptr;
        break;
    case CurrentScene::Scene:
        state.currentScene = findOrAddScene(scene);
        break;
    case CurrentScene::NotAScene:
        state.currentScene = newSource(QStringLiteral("Keine Szene"), QStringLiteral("color_source"), {});
        break;
    }
}

void failSourceCreation(bool fail)
{
    state.sourceCreationFails = fail;
}

void failDockRegistration(bool fail)
{
    state.dockRegistrationFails = fail;
}

const QList<RegisteredDock> &docks()
{
    return state.docks;
}

void quitFrontend()
{
    state.mainWindow.reset();
    state.docks.clear();
}

void setLocaleFiles(const QStringList &languages)
{
    state.localeFiles = languages;
}

int openLookups()
{
    return static_cast<int>(state.lookups.size());
}

QString lookupLocale()
{
    return state.lookupLocale;
}

obs_module_t *lookupModule()
{
    return state.lookupModule;
}

} // namespace ObsDouble

// libobs: log

void blog(int level, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    state.logLines.append({level, QString::vasprintf(format, arguments)});
    va_end(arguments);
}

// libobs: sources

obs_source_t *obs_get_source_by_name(const char *name)
{
    record("obs_get_source_by_name");
    return takeReference(findSource(QString::fromUtf8(name)));
}

obs_source_t *obs_source_create(const char *id, const char *name, obs_data_t *settings, obs_data_t *)
{
    record("obs_source_create");
    if (state.sourceCreationFails || (settings && !isAlive(settings, "obs_source_create"))) {
        return nullptr;
    }
    obs_source *source =
        newSource(QString::fromUtf8(name), QString::fromUtf8(id), settings ? settings->values : QVariantMap());
    source->taken = 1;
    return source;
}

void obs_source_release(obs_source_t *source)
{
    releaseReference(source, "obs_source_release");
}

obs_data_t *obs_source_get_settings(const obs_source_t *source)
{
    record("obs_source_get_settings");
    if (!isAlive(source, "obs_source_get_settings")) {
        return nullptr;
    }
    return takeReference(source->settings);
}

void obs_source_update(obs_source_t *source, obs_data_t *settings)
{
    record("obs_source_update");
    if (isAlive(source, "obs_source_update") && isAlive(settings, "obs_source_update")) {
        source->settings->values.insert(settings->values);
        ++source->updates;
    }
}

obs_scene_t *obs_scene_from_source(const obs_source_t *source)
{
    record("obs_scene_from_source");
    return isAlive(source, "obs_scene_from_source") ? source->scene.get() : nullptr;
}

obs_sceneitem_t *obs_scene_add(obs_scene_t *scene, obs_source_t *source)
{
    record("obs_scene_add");
    if (isAlive(scene, "obs_scene_add") && isAlive(source, "obs_scene_add")) {
        scene->items.append(source->name);
        ++source->references;
    }
    return nullptr;
}

// libobs: settings objects

obs_data_t *obs_data_create()
{
    record("obs_data_create");
    obs_data *data = newData();
    data->taken = 1;
    return data;
}

void obs_data_set_string(obs_data_t *data, const char *name, const char *value)
{
    record("obs_data_set_string");
    if (isAlive(data, "obs_data_set_string")) {
        data->values.insert(QString::fromUtf8(name), QString::fromUtf8(value));
    }
}

void obs_data_set_bool(obs_data_t *data, const char *name, bool value)
{
    record("obs_data_set_bool");
    if (isAlive(data, "obs_data_set_bool")) {
        data->values.insert(QString::fromUtf8(name), value);
    }
}

void obs_data_release(obs_data_t *data)
{
    releaseReference(data, "obs_data_release");
}

// libobs: locale tables

lookup_t *obs_module_load_locale(obs_module_t *module, const char *defaultLocale, const char *locale)
{
    record("obs_module_load_locale");
    state.lookupModule = module;
    if (!locale || !state.localeFiles.contains(QString::fromUtf8(defaultLocale))) {
        return nullptr;
    }
    const QString wanted = QString::fromUtf8(locale);
    state.lookupLocale = state.localeFiles.contains(wanted) ? wanted : QString::fromUtf8(defaultLocale);
    state.lookups.push_back(std::make_unique<text_lookup>(text_lookup{state.lookupLocale}));
    return state.lookups.back().get();
}

void text_lookup_destroy(lookup_t *lookup)
{
    record("text_lookup_destroy");
    const auto found = std::find_if(state.lookups.begin(), state.lookups.end(),
                                    [lookup](const auto &candidate) { return candidate.get() == lookup; });
    if (found != state.lookups.end()) {
        state.lookups.erase(found);
    } else if (lookup) {
        state.misuses.append(QStringLiteral("text_lookup_destroy"));
    }
}

bool text_lookup_getstr(lookup_t *lookup, const char *key, const char **out)
{
    if (!lookup || qstrcmp(key, "PluginName") != 0) {
        return false;
    }
    *out = "Tarvoline SRTLA";
    return true;
}

// Front end

obs_source_t *obs_frontend_get_current_scene()
{
    record("obs_frontend_get_current_scene");
    return state.mainWindow ? takeReference(state.currentScene) : nullptr;
}

bool obs_frontend_add_dock_by_id(const char *id, const char *title, void *widget)
{
    record("obs_frontend_add_dock_by_id");
    if (!state.mainWindow || state.dockRegistrationFails) {
        return false;
    }
    auto *holder = new QDockWidget(QString::fromUtf8(title), state.mainWindow.get());
    holder->setObjectName(QString::fromUtf8(id));
    holder->setWidget(static_cast<QWidget *>(widget));
    state.docks.append({QString::fromUtf8(id), QString::fromUtf8(title), static_cast<QWidget *>(widget)});
    return true;
}

void obs_frontend_remove_dock(const char *id)
{
    record("obs_frontend_remove_dock");
    if (!state.mainWindow) {
        state.misuses.append(QStringLiteral("obs_frontend_remove_dock"));
        return;
    }
    const QString name = QString::fromUtf8(id);
    delete state.mainWindow->findChild<QDockWidget *>(name);
    state.docks.removeIf([&name](const ObsDouble::RegisteredDock &dock) { return dock.id == name; });
}
