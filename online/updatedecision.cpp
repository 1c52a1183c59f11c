// SPDX-License-Identifier: GPL-2.0-or-later
#include "updatedecision.h"

#include "paneltexts.h"
#include "updatemanifest.h"
#include "updaterules.h"

namespace {

constexpr qsizetype shownNotesLength = 1000;

UpdateDecision decideNewerVersion(const UpdateManifest &manifest, const QString &installed)
{
    QString text =
        PanelTexts::tr("Neue Version %1 verfügbar. Installiert ist %2.").arg(manifest.latestVersion, installed);
    if (!manifest.releaseNotes.isEmpty()) {
        text += u'\n' + manifest.releaseNotes.left(shownNotesLength);
    }
    if (!isInstallableOffer(manifest.downloadUrl, manifest.sha256, manifest.installMode)) {
        text += PanelTexts::tr("\nDas Update kann aus Sicherheitsgründen nicht automatisch installiert werden.");
        return {.isAnswered = true, .text = text, .change = OfferChange::Withdraw};
    }
    return {.isAnswered = true,
            .text = text,
            .change = OfferChange::Replace,
            .offer = {.url = manifest.downloadUrl, .sha256 = manifest.sha256, .version = manifest.latestVersion}};
}

} // namespace

QString installedVersionText(const QString &installed)
{
    return PanelTexts::tr("Installierte Version: %1").arg(installed);
}

UpdateDecision decideUpdate(const QByteArray &body, const QString &installed, bool manual)
{
    const ManifestReading reading = readUpdateManifest(body);
    if (!reading.manifest) {
        return {.isAnswered = reading.isJsonObject,
                .text =
                    PanelTexts::tr("Installierte Version: %1\nUngültige Antwort des Update-Servers.").arg(installed)};
    }
    switch (compareVersions(reading.manifest->latestVersion, installed)) {
    case VersionOrder::Unreadable:
        return {.isAnswered = true,
                .text = PanelTexts::tr("Installierte Version: %1\nUngültige Versionsangabe vom Server.").arg(installed),
                .change = OfferChange::Hide};
    case VersionOrder::SameOrOlder:
        return {.isAnswered = true,
                .text = manual ? PanelTexts::tr("Du hast die neueste Version. Installierte Version: %1").arg(installed)
                               : installedVersionText(installed),
                .change = OfferChange::Withdraw};
    case VersionOrder::Newer:
        break;
    }
    return decideNewerVersion(*reading.manifest, installed);
}
