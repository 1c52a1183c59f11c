// SPDX-License-Identifier: GPL-2.0-or-later
// The query for this connection's public address.
#include "tarvolinedock.h"

void TarvolineDock::queryPublicIp() {}
