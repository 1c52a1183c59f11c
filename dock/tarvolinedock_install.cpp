// SPDX-License-Identifier: GPL-2.0-or-later
// Download, check and start of the installer of a newer version. The rules behind it are in online/.
#include "installercheck.h"
#include "tarvolinedock.h"
#include "updateaddress.h"
#include "updaterequest.h"

#include <QCoreApplication>
#include <QDir>
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

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// Long enough to read the last text, and for the installer to come up before it asks OBS to close.
constexpr std::chrono::milliseconds quitDelay = 800ms;

QString installerPath(const QString &version)
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::TempLocation)).filePath(installerFileName(version));
}

// All of the file or none of it: what is started next must be what was checked.
bool saveInstaller(const QString &path, const QByteArray &data)
{
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size() && file.commit();
}

// Inno Setup's switches: no question at the start, and the programs that hold our files are closed and started again.
bool startInstaller(const QString &path)
{
    return QProcess::startDetached(path, {u"/SP-"_s, u"/CLOSEAPPLICATIONS"_s, u"/RESTARTAPPLICATIONS"_s}, QString(),
                                   nullptr);
}

} // namespace

void TarvolineDock::downloadAndInstallUpdate()
{
    if (pendingUpdateUrl.isEmpty() || pendingUpdateSha256.isEmpty() || pendingUpdateVersion.isEmpty() ||
        !networkManager) {
        return;
    }
    // The question's event loop runs everything, also the dock's destruction.
    const QPointer<TarvolineDock> self(this);
    const auto answer = QMessageBox::question(
        this, tr("Update installieren"),
        tr("Version %1 wird heruntergeladen und installiert.\n\nOBS wird danach geschlossen. Nicht gespeicherte "
           "Änderungen solltest du vorher speichern. Fortfahren?")
            .arg(pendingUpdateVersion),
        QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
    if (answer != QMessageBox::Yes || !self) {
        return;
    }

    installUpdateButton->setEnabled(false);
    updateCheckButton->setEnabled(false);
    versionLabel->setText(tr("Update %1 wird heruntergeladen …").arg(pendingUpdateVersion));
    QNetworkReply *reply = networkManager->get(installerRequest(QUrl(pendingUpdateUrl)));
    connect(reply, &QNetworkReply::downloadProgress, this, &TarvolineDock::handleInstallerProgress);
    connect(reply, &QNetworkReply::finished, this, [this, reply] { handleInstallerDownloaded(reply); });
}

void TarvolineDock::handleInstallerProgress(qint64 bytesReceived, qint64 bytesTotal)
{
    if (bytesTotal > 0) {
        const qint64 percent = bytesReceived * 100 / bytesTotal;
        versionLabel->setText(tr("Update wird heruntergeladen … %1 %").arg(percent));
    }
}

void TarvolineDock::handleInstallerDownloaded(QNetworkReply *reply)
{
    installUpdateButton->setEnabled(true);
    updateCheckButton->setEnabled(true);
    reply->deleteLater();

    if (reply->error() != QNetworkReply::NoError || !isInstallerAddress(reply->url())) {
        versionLabel->setText(tr("Der Installer konnte nicht sicher heruntergeladen werden."));
        return;
    }
    const QByteArray installer = reply->readAll();
    switch (checkInstaller(installer, pendingUpdateSha256)) {
    case InstallerVerdict::WrongSize:
        versionLabel->setText(tr("Ungültige Größe der Installationsdatei."));
        return;
    case InstallerVerdict::WrongDigest:
        versionLabel->setText(tr("Sicherheitsprüfung fehlgeschlagen: SHA-256 stimmt nicht überein."));
        return;
    case InstallerVerdict::Genuine:
        break;
    }

    const QString path = installerPath(pendingUpdateVersion);
    if (!saveInstaller(path, installer)) {
        versionLabel->setText(tr("Der Installer konnte nicht gespeichert werden."));
        return;
    }
    versionLabel->setText(tr("Installer geprüft. OBS wird beendet und das Update gestartet …"));
    if (!startInstaller(path)) {
        versionLabel->setText(tr("Der Installer konnte nicht gestartet werden."));
        return;
    }
    QTimer::singleShot(quitDelay, QCoreApplication::instance(), &QCoreApplication::quit);
}
