// SPDX-License-Identifier: GPL-2.0-or-later
// The only file of the dock that calls libobs.
#include "mediasource.h"

#include <obs-frontend-api.h>
#include <obs.hpp>

namespace {

// The source is found by its name; a renamed source is no longer managed.
constexpr char sourceName[] = "Tarvoline SRTLA";
constexpr char sourceType[] = "ffmpeg_source";

// False when there is no source of that name. Its type and scenes are not changed.
bool updateExistingSource(const QByteArray &url)
{
    const OBSSourceAutoRelease source = obs_get_source_by_name(sourceName);
    if (!source) {
        return false;
    }
    const OBSDataAutoRelease data = obs_source_get_settings(source);
    obs_data_set_string(data, "input", url.constData());
    obs_data_set_bool(data, "is_local_file", false);
    obs_data_set_bool(data, "restart_on_activate", true);
    obs_data_set_bool(data, "close_when_inactive", false);
    obs_source_update(source, data);
    return true;
}

// Null when OBS does not have the source type.
obs_source_t *createSource(const QByteArray &url)
{
    const OBSDataAutoRelease data = obs_data_create();
    obs_data_set_bool(data, "is_local_file", false);
    obs_data_set_string(data, "input", url.constData());
    obs_data_set_bool(data, "restart_on_activate", true);
    obs_data_set_bool(data, "close_when_inactive", false);
    return obs_source_create(sourceType, sourceName, data, nullptr);
}

// False when the source could not be created or there is no current scene; releasing the only reference then destroys
// the source.
bool createInCurrentScene(const QByteArray &url)
{
    const OBSSourceAutoRelease source = createSource(url);
    if (!source) {
        return false;
    }
    const OBSSourceAutoRelease sceneSource = obs_frontend_get_current_scene();
    obs_scene_t *scene = sceneSource ? obs_scene_from_source(sceneSource) : nullptr;
    if (!scene) {
        return false;
    }
    obs_scene_add(scene, source);
    return true;
}

} // namespace

MediaSourceResult repairMediaSource(const QByteArray &url)
{
    if (updateExistingSource(url)) {
        return MediaSourceResult::Updated;
    }
    return createInCurrentScene(url) ? MediaSourceResult::Created : MediaSourceResult::Failed;
}
