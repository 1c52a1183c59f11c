// SPDX-License-Identifier: GPL-2.0-or-later
// Requests to the vendor's JSON service.
#include "tarvolinedock.h"

void TarvolineDock::postJson(const QString &path, const QJsonObject &request, JsonReplyCallback callback)
{
    Q_UNUSED(path)
    Q_UNUSED(request)
    Q_UNUSED(callback)
}
