// SPDX-License-Identifier: GPL-2.0-or-later
// The OBS media source that plays the received stream: the dock's only meeting with libobs.
#include "tarvolinedock.h"

#include <QLineEdit>
#include <QMessageBox>

#include <obs-frontend-api.h>
#include <obs.hpp>

using namespace Qt::StringLiterals;

namespace {

// The source is known by its name alone; a renamed one belongs to the user.
constexpr char sourceName[] = "Tarvoline SRTLA";
constexpr char sourceType[] = "ffmpeg_source";

void updateSource(obs_source_t *source, const QByteArray &url)
{
    const OBSDataAutoRelease data = obs_source_get_settings(source);
    obs_data_set_string(data, "input", url.constData());
    obs_data_set_bool(data, "is_local_file", false);
    obs_data_set_bool(data, "restart_on_activate", true);
    obs_data_set_bool(data, "close_when_inactive", false);
    obs_source_update(source, data);
}

// Null when OBS has no such source type or refuses.
OBSSourceAutoRelease createSource(const QByteArray &url)
{
    const OBSDataAutoRelease data = obs_data_create();
    obs_data_set_bool(data, "is_local_file", false);
    obs_data_set_string(data, "input", url.constData());
    obs_data_set_bool(data, "restart_on_activate", true);
    obs_data_set_bool(data, "close_when_inactive", false);
    return obs_source_create(sourceType, sourceName, data, nullptr);
}

// False when there is no current scene to receive the source.
bool addToCurrentScene(obs_source_t *source)
{
    const OBSSourceAutoRelease sceneSource = obs_frontend_get_current_scene();
    if (!sceneSource) {
        return false;
    }
    obs_scene_t *scene = obs_scene_from_source(sceneSource);
    if (!scene) {
        return false;
    }
    obs_scene_add(scene, source);
    return true;
}

} // namespace

bool TarvolineDock::ensureMediaSource()
{
    const QByteArray url = obsAddressEdit->text().toUtf8();

    if (const OBSSourceAutoRelease existing = obs_get_source_by_name(sourceName)) {
        updateSource(existing, url);
        appendLog(tr("OBS | Vorhandene SRT-Quelle aktualisiert"));
        return true;
    }
    {
        // Released before the log line: without a scene that took it the source is gone at the end of this block.
        const OBSSourceAutoRelease created = createSource(url);
        if (!created || !addToCurrentScene(created)) {
            return false;
        }
    }
    appendLog(tr("OBS | Neue SRT-Quelle angelegt"));
    return true;
}

void TarvolineDock::createOrRepairSource()
{
    if (!ensureMediaSource()) {
        QMessageBox::warning(this, tr("Quelle konnte nicht erstellt werden"),
                             tr("OBS konnte die Medienquelle nicht anlegen. Prüfe, ob eine Szene aktiv ist."),
                             QMessageBox::Ok);
    }
}
