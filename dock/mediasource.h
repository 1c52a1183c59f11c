// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>

/// Outcome of repairMediaSource().
enum class MediaSourceResult {
    Updated, ///< the source of that name, whatever its type and scenes, has the address now
    Created, ///< a new source is in the current scene
    Failed,  ///< it could not be created, or no scene could receive it; no source is left behind
};

/// Makes the OBS media source "Tarvoline SRTLA" exist and listen on \a url (UTF-8). For OBS's main thread.
MediaSourceResult repairMediaSource(const QByteArray &url);
