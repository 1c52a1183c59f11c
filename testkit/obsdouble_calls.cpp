// SPDX-License-Identifier: GPL-2.0-or-later
// The functions of libobs and of the front end.
#include "testkit/obsdouble_state.h"

#include <QDockWidget>

#include <algorithm>
#include <cstdarg>

using ObsDouble::state;

namespace {

// Objects are freed at the next reset, so that a use after the last release is detected.
bool isAlive(const void *object, const char *function)
{
    if (state().living.contains(object)) {
        return true;
    }
    state().misuses.append(QString::fromLatin1(function));
    return false;
}

void record(const char *function)
{
    state().calls.append(QString::fromLatin1(function));
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
        state().misuses.append(QString::fromLatin1(function));
        return;
    }
    --object->taken;
    if (--object->references == 0) {
        state().living.remove(object);
    }
}

} // namespace

// libobs: log

void blog(int level, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    state().logLines.append({level, QString::vasprintf(format, arguments)});
    va_end(arguments);
}

// libobs: sources

obs_source_t *obs_get_source_by_name(const char *name)
{
    record("obs_get_source_by_name");
    return takeReference(ObsDouble::findSource(QString::fromUtf8(name)));
}

obs_source_t *obs_source_create(const char *id, const char *name, obs_data_t *settings, obs_data_t *)
{
    record("obs_source_create");
    if (state().sourceCreationFails || (settings && !isAlive(settings, "obs_source_create"))) {
        return nullptr;
    }
    obs_source *source = ObsDouble::newSource(QString::fromUtf8(name), QString::fromUtf8(id),
                                              settings ? settings->values : QVariantMap());
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
    obs_data *data = ObsDouble::newData();
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
    state().lookupModule = module;
    if (!locale || !state().localeFiles.contains(QString::fromUtf8(defaultLocale))) {
        return nullptr;
    }
    const QString wanted = QString::fromUtf8(locale);
    state().lookupLocale = state().localeFiles.contains(wanted) ? wanted : QString::fromUtf8(defaultLocale);
    state().lookups.push_back(std::make_unique<text_lookup>(text_lookup{state().lookupLocale}));
    return state().lookups.back().get();
}

void text_lookup_destroy(lookup_t *lookup)
{
    record("text_lookup_destroy");
    const auto found = std::find_if(state().lookups.begin(), state().lookups.end(),
                                    [lookup](const auto &candidate) { return candidate.get() == lookup; });
    if (found != state().lookups.end()) {
        state().lookups.erase(found);
    } else if (lookup) {
        state().misuses.append(QStringLiteral("text_lookup_destroy"));
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
    return state().mainWindow ? takeReference(state().currentScene) : nullptr;
}

bool obs_frontend_add_dock_by_id(const char *id, const char *title, void *widget)
{
    record("obs_frontend_add_dock_by_id");
    if (!state().mainWindow || state().dockRegistrationFails) {
        return false;
    }
    auto *holder = new QDockWidget(QString::fromUtf8(title), state().mainWindow.get());
    holder->setObjectName(QString::fromUtf8(id));
    holder->setWidget(static_cast<QWidget *>(widget));
    state().docks.append({QString::fromUtf8(id), QString::fromUtf8(title), static_cast<QWidget *>(widget)});
    return true;
}

void obs_frontend_remove_dock(const char *id)
{
    record("obs_frontend_remove_dock");
    if (!state().mainWindow) {
        state().misuses.append(QStringLiteral("obs_frontend_remove_dock"));
        return;
    }
    const QString name = QString::fromUtf8(id);
    const auto *holder = state().mainWindow->findChild<QDockWidget *>(name);
    if (holder && state().dockRemovalAction) {
        state().dockRemovalAction(holder->widget());
    }
    delete holder;
    state().docks.removeIf([&name](const ObsDouble::RegisteredDock &dock) { return dock.id == name; });
}
