// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>

/// Outcome of repairMediaSource().
enum class MediaSourceResult {
    Updated, ///< an existing source of that name, of any type and in any scene, got the address
    Created, ///< a new source was added to the current scene
    Failed,  ///< it could not be created, or there is no current scene; no source is left behind
};

/// Creates or updates the OBS media source "Tarvoline SRTLA" to listen on \a url (UTF-8). OBS main thread only.
MediaSourceResult repairMediaSource(const QByteArray &url);
