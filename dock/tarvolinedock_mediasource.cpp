// SPDX-License-Identifier: GPL-2.0-or-later
// Log lines and warning for the OBS media source.
#include "mediasource.h"
#include "tarvolinedock.h"

#include <QLineEdit>
#include <QMessageBox>

bool TarvolineDock::ensureMediaSource()
{
    switch (repairMediaSource(obsAddressEdit->text().toUtf8())) {
    case MediaSourceResult::Updated:
        appendLog(tr("OBS | Vorhandene SRT-Quelle aktualisiert"));
        return true;
    case MediaSourceResult::Created:
        appendLog(tr("OBS | Neue SRT-Quelle angelegt"));
        return true;
    case MediaSourceResult::Failed:
        break;
    }
    return false;
}

void TarvolineDock::createOrRepairSource()
{
    if (!ensureMediaSource()) {
        QMessageBox::warning(this, tr("Quelle konnte nicht erstellt werden"),
                             tr("OBS konnte die Medienquelle nicht anlegen. Prüfe, ob eine Szene aktiv ist."),
                             QMessageBox::Ok);
    }
}
