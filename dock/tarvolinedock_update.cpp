// SPDX-License-Identifier: GPL-2.0-or-later
// Check for a newer version. The response is evaluated in online/updatedecision.h.
#include "buildspec.h"
#include "docksettings.h"
#include "tarvolinedock.h"
#include "updatedecision.h"
#include "updatemanifest.h"
#include "updaterequest.h"
#include "updaterules.h"

#include <QDateTime>
#include <QLabel>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPushButton>

namespace {

QString installedVersion()
{
    return QString::fromUtf8(pluginVersion);
}

// The reason of a failed manual check, for the user.
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
    return ::installedVersionText(installedVersion());
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

    const UpdateDecision decision = decideUpdate(reply->read(maximumManifestBytes + 1), installedVersion(), manual);
    if (decision.isAnswered) {
        settings.setValue(DockSettings::lastUpdateCheckUtc, QDateTime::currentDateTimeUtc().toSecsSinceEpoch());
    }
    applyUpdateDecision(decision);
}

void TarvolineDock::applyUpdateDecision(const UpdateDecision &decision)
{
    versionLabel->setText(decision.text);
    switch (decision.change) {
    case OfferChange::Keep:
        return;
    case OfferChange::Hide:
        installUpdateButton->setVisible(false);
        return;
    case OfferChange::Withdraw:
        setPendingUpdate({});
        return;
    case OfferChange::Replace:
        setPendingUpdate(decision.offer);
        return;
    }
}

void TarvolineDock::setPendingUpdate(const UpdateOffer &offer)
{
    pendingUpdateUrl = offer.url;
    pendingUpdateSha256 = offer.sha256;
    pendingUpdateVersion = offer.version;
    installUpdateButton->setVisible(!offer.version.isEmpty());
}
