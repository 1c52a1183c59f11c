// SPDX-License-Identifier: GPL-2.0-or-later
// The module's entry points and its dock.
#include "buildspec.h"
#include "tarvolinedock.h"

#include <QPointer>

#include <obs-frontend-api.h>
#include <obs-module.h>
#include <util/text-lookup.h>

namespace {

// libobs 31.1.1, the oldest supported version: OBS rejects modules for a newer version than its own.
constexpr uint32_t apiVersion = 0x1F010001;
constexpr char defaultLocale[] = "de-DE";
constexpr char dockTitle[] = "Tarvoline SRTLA Receiver";

// OBS main thread only.
obs_module_t *moduleHandle = nullptr;
lookup_t *textLookup = nullptr;
// Guarded: when OBS quits, its main window destroys the dock before the module is unloaded.
QPointer<TarvolineDock> dock;

} // namespace

// obs-module.h declares the entry points, with C linkage, except for these two.
MODULE_EXPORT void obs_module_set_pointer(obs_module_t *module);
MODULE_EXPORT uint32_t obs_module_ver();

void obs_module_set_pointer(obs_module_t *module)
{
    moduleHandle = module;
}

obs_module_t *obs_current_module()
{
    return moduleHandle;
}

uint32_t obs_module_ver()
{
    return apiVersion;
}

void obs_module_set_locale(const char *locale)
{
    if (textLookup) {
        text_lookup_destroy(textLookup);
    }
    textLookup = obs_module_load_locale(obs_current_module(), defaultLocale, locale);
}

void obs_module_free_locale()
{
    text_lookup_destroy(textLookup);
    textLookup = nullptr;
}

bool obs_module_get_string(const char *val, const char **out)
{
    return text_lookup_getstr(textLookup, val, out);
}

const char *obs_module_description()
{
    return "Native Tarvoline SRTLA receiver integration for OBS Studio";
}

bool obs_module_load()
{
    blog(LOG_INFO, "[Tarvoline SRTLA] Plugin %s wird geladen", pluginVersion);
    dock = new TarvolineDock;
    if (obs_frontend_add_dock_by_id(dockId, dockTitle, dock.data())) {
        return true;
    }
    blog(LOG_ERROR, "[Tarvoline SRTLA] Dock konnte nicht hinzugefügt werden");
    delete dock;
    dock = nullptr;
    return false;
}

void obs_module_unload()
{
    if (dock) {
        dock->shutdown();
        obs_frontend_remove_dock(dockId);
        dock = nullptr;
    }
    blog(LOG_INFO, "[Tarvoline SRTLA] Plugin sicher entladen");
}
