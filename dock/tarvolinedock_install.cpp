// SPDX-License-Identifier: GPL-2.0-or-later
// Download and start of the installer of a newer version.
#include "tarvolinedock.h"

void TarvolineDock::downloadAndInstallUpdate() {}
