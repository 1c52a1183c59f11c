// SPDX-License-Identifier: GPL-2.0-or-later
// The check for a newer version. The rules behind it are in online/.
#include "buildspec.h"
#include "docksettings.h"
#include "tarvolinedock.h"
#include "updateaddress.h"
#include "updatemanifest.h"
#include "updateoffer.h"
#include "updaterequest.h"

#include <QDateTime>
#include <QLabel>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPushButton>

namespace {

constexpr qsizetype shownNotesLength = 1000;

QString installedVersion()
{
    return QString::fromUtf8(pluginVersion);
}

// Why the manifest could not be had, for a user who asked.
QString checkFailureDetail(const QNetworkReply &reply)
{
    if (!isVendorAddress(reply.url())) {
        return TarvolineDock::tr("Unsichere oder unerwartete Zieladresse: %1").arg(reply.url().toString());
    }
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const QString errorText = reply.errorString().trimmed();
    if (status > 0) {
        return TarvolineDock::tr("Serverantwort HTTP %1: %2").arg(QString::number(status), errorText);
    }
    return TarvolineDock::tr("Netzwerkfehler: %1").arg(errorText);
}

} // namespace

QString TarvolineDock::installedVersionText()
{
    return tr("Installierte Version: %1").arg(installedVersion());
}

void TarvolineDock::checkForUpdatesManually()
{
    if (unloading || !networkManager) {
        return;
    }
    updateCheckButton->setEnabled(false);
    versionLabel->setText(tr("Suche nach einer neuen Version … (installiert: %1)").arg(installedVersion()));
    QNetworkReply *reply = networkManager->get(manifestRequest());
    connect(reply, &QNetworkReply::finished, this, [this, reply] { handleUpdateReply(reply, true); });
}

void TarvolineDock::handleUpdateReply(QNetworkReply *reply, bool manual)
{
    updateCheckButton->setEnabled(true);
    reply->deleteLater();

    if (reply->error() != QNetworkReply::NoError || !isVendorAddress(reply->url())) {
        versionLabel->setText(manual ? tr("Installierte Version: %1\nUpdateprüfung nicht möglich.\n%2")
                                           .arg(installedVersion(), checkFailureDetail(*reply))
                                     : installedVersionText());
        return;
    }

    const ManifestReading reading = readUpdateManifest(reply->read(maximumManifestBytes + 1));
    if (reading.isJsonObject) {
        settings.setValue(DockSettings::lastUpdateCheckUtc, QDateTime::currentDateTimeUtc().toSecsSinceEpoch());
    }
    if (!reading.manifest) {
        versionLabel->setText(
            tr("Installierte Version: %1\nUngültige Antwort des Update-Servers.").arg(installedVersion()));
        return;
    }
    const UpdateManifest &manifest = *reading.manifest;
    evaluateUpdateInfo(manifest.latestVersion, manifest.downloadUrl, manifest.releaseNotes, manifest.sha256,
                       manifest.installMode, manual);
}

void TarvolineDock::evaluateUpdateInfo(const QString &latestVersion, const QString &downloadUrl,
                                       const QString &releaseNotes, const QString &sha256, const QString &installMode,
                                       bool manual)
{
    switch (compareVersions(latestVersion, installedVersion())) {
    case VersionOrder::Unreadable:
        // A pending offer stays: this answer says nothing about it.
        versionLabel->setText(
            tr("Installierte Version: %1\nUngültige Versionsangabe vom Server.").arg(installedVersion()));
        installUpdateButton->setVisible(false);
        return;
    case VersionOrder::SameOrOlder:
        setPendingUpdate({}, {}, {});
        versionLabel->setText(manual
                                  ? tr("Du hast die neueste Version. Installierte Version: %1").arg(installedVersion())
                                  : installedVersionText());
        return;
    case VersionOrder::Newer:
        break;
    }

    QString text = tr("Neue Version %1 verfügbar. Installiert ist %2.").arg(latestVersion, installedVersion());
    if (!releaseNotes.isEmpty()) {
        text += u'\n' + releaseNotes.left(shownNotesLength);
    }
    if (isInstallableOffer(downloadUrl, sha256, installMode)) {
        setPendingUpdate(downloadUrl, sha256, latestVersion);
    } else {
        setPendingUpdate({}, {}, {});
        text += tr("\nDas Update kann aus Sicherheitsgründen nicht automatisch installiert werden.");
    }
    versionLabel->setText(text);
}

void TarvolineDock::setPendingUpdate(const QString &url, const QString &sha256, const QString &version)
{
    pendingUpdateUrl = url;
    pendingUpdateSha256 = sha256;
    pendingUpdateVersion = version;
    installUpdateButton->setVisible(!version.isEmpty());
}
