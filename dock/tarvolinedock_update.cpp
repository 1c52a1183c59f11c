// SPDX-License-Identifier: GPL-2.0-or-later
// The check for a newer version.
#include "tarvolinedock.h"

void TarvolineDock::checkForUpdatesManually() {}
