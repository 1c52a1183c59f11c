// SPDX-License-Identifier: GPL-2.0-or-later
// Download, check and start of the installer of a newer version. The rules are in online/updaterules.h.
#include "heldfile.h"
#include "tarvolinedock.h"
#include "updatedecision.h"
#include "updaterequest.h"
#include "updaterules.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QMessageBox>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QSaveFile>
#include <QStandardPaths>
#include <QTimer>

#include <chrono>
#include <optional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// Time for the user to read the last text, and for the installer to start before OBS quits.
constexpr std::chrono::milliseconds quitDelay = 800ms;

std::optional<QString> installerPath(const QString &version)
{
    const std::optional<QString> name = installerFileName(version);
    if (!name) {
        return std::nullopt;
    }
    return QDir(QStandardPaths::writableLocation(QStandardPaths::TempLocation)).filePath(*name);
}

// Atomic. A symbolic link is replaced, because QSaveFile would write to its target.
bool saveInstaller(const QString &path, const QByteArray &data)
{
    if (QFileInfo(path).isSymLink() && !QFile::remove(path)) {
        return false;
    }
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size() && file.commit();
}

bool isFileGenuine(const QString &path, const QString &sha256)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && hasDigest(file, sha256);
}

// The status is checked as well, because Qt sets the error only at the end of an error page.
bool hasFailed(const QNetworkReply &reply)
{
    constexpr int firstErrorStatus = 400;
    return reply.error() != QNetworkReply::NoError ||
           reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() >= firstErrorStatus;
}

// Inno Setup's switches: no prompt at the start; programs that use the installed files are closed and restarted.
bool startInstaller(const QString &path)
{
    return QProcess::startDetached(path, {u"/SP-"_s, u"/CLOSEAPPLICATIONS"_s, u"/RESTARTAPPLICATIONS"_s}, QString(),
                                   nullptr);
}

} // namespace

void TarvolineDock::downloadAndInstallUpdate()
{
    // A copy: another check may change the pending offer while the question is open or the download runs.
    const UpdateOffer offer{pendingUpdateUrl, pendingUpdateSha256, pendingUpdateVersion};
    if (offer.url.isEmpty() || offer.sha256.isEmpty() || offer.version.isEmpty() || !networkManager) {
        return;
    }
    // The dock may be destroyed in the message box's event loop.
    const QPointer<TarvolineDock> self(this);
    const auto answer = QMessageBox::question(
        this, tr("Update installieren"),
        tr("Version %1 wird heruntergeladen und installiert.\n\nOBS wird danach geschlossen. Nicht gespeicherte "
           "Änderungen solltest du vorher speichern. Fortfahren?")
            .arg(offer.version),
        QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
    if (answer != QMessageBox::Yes || !self) {
        return;
    }

    installUpdateButton->setEnabled(false);
    updateCheckButton->setEnabled(false);
    versionLabel->setText(tr("Update %1 wird heruntergeladen …").arg(offer.version));
    QNetworkReply *reply = networkManager->get(installerRequest(QUrl(offer.url)));
    connect(reply, &QNetworkReply::downloadProgress, this, &TarvolineDock::handleInstallerProgress);
    connect(reply, &QNetworkReply::readyRead, this, [this, reply, offer] { endOversizedDownload(reply, offer); });
    connect(reply, &QNetworkReply::finished, this, [this, reply, offer] { handleInstallerDownloaded(reply, offer); });
}

void TarvolineDock::handleInstallerProgress(qint64 bytesReceived, qint64 bytesTotal)
{
    if (bytesTotal > 0) {
        const qint64 percent = bytesReceived * 100 / bytesTotal;
        versionLabel->setText(tr("Update wird heruntergeladen … %1 %").arg(percent));
    }
}

void TarvolineDock::endOversizedDownload(QNetworkReply *reply, const UpdateOffer &offer)
{
    if (reply->bytesAvailable() > maximumInstallerBytes) {
        QObject::disconnect(reply, nullptr, this, nullptr);
        // Before the abort, which sets an error on the reply.
        handleInstallerDownloaded(reply, offer);
        reply->abort();
    }
}

void TarvolineDock::handleInstallerDownloaded(QNetworkReply *reply, const UpdateOffer &offer)
{
    installUpdateButton->setEnabled(true);
    updateCheckButton->setEnabled(true);
    reply->deleteLater();

    if (hasFailed(*reply) || !isInstallerAddress(reply->url())) {
        versionLabel->setText(tr("Der Installer konnte nicht sicher heruntergeladen werden."));
        return;
    }
    const QByteArray installer = reply->readAll();
    switch (checkInstaller(installer, offer.sha256)) {
    case InstallerVerdict::WrongSize:
        versionLabel->setText(tr("Ungültige Größe der Installationsdatei."));
        return;
    case InstallerVerdict::WrongDigest:
        showWrongDigest();
        return;
    case InstallerVerdict::Genuine:
        break;
    }
    const std::optional<QString> path = installerPath(offer.version);
    if (!path || !saveInstaller(*path, installer)) {
        showInstallerNotSaved();
        return;
    }
    startSavedInstaller(*path, offer.sha256);
}

void TarvolineDock::startSavedInstaller(const QString &path, const QString &sha256)
{
    // The file on disk is checked again and held from before the check until after the start, so that it cannot be
    // replaced in between.
    const HeldFile held(path);
    if (!held.isHeld()) {
        showInstallerNotSaved();
        return;
    }
    if (!isFileGenuine(path, sha256)) {
        showWrongDigest();
        return;
    }
    versionLabel->setText(tr("Installer geprüft. OBS wird beendet und das Update gestartet …"));
    if (!startInstaller(path)) {
        versionLabel->setText(tr("Der Installer konnte nicht gestartet werden."));
        return;
    }
    QTimer::singleShot(quitDelay, QCoreApplication::instance(), &QCoreApplication::quit);
}

void TarvolineDock::showWrongDigest()
{
    versionLabel->setText(tr("Sicherheitsprüfung fehlgeschlagen: SHA-256 stimmt nicht überein."));
}

void TarvolineDock::showInstallerNotSaved()
{
    versionLabel->setText(tr("Der Installer konnte nicht gespeichert werden."));
}
