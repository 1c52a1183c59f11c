// SPDX-License-Identifier: GPL-2.0-or-later
// Query for the public address.
#include "tarvolinedock.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include <utility>

using namespace Qt::StringLiterals;

void TarvolineDock::queryPublicIp()
{
    if (unloading) {
        return;
    }
    // The hint label is not in the tab order and ignores keys; it holds the focus until the response arrives.
    passFocus(queryIpButton, ipHintLabel);
    queryIpButton->setEnabled(false);
    ipHintLabel->setText(tr("Öffentliche IP wird ermittelt …"));
    postJson(u"/api/network_probe.php"_s, {{u"action"_s, u"ip"_s}},
             [this](const QJsonObject &reply, int httpStatus) { handlePublicIpReply(reply, httpStatus); });
}

void TarvolineDock::postJson(const QString &path, const QJsonObject &request, JsonReplyCallback callback)
{
    postToVendor(this, path, request, std::move(callback));
}

void TarvolineDock::handlePublicIpReply(const QJsonObject &reply, int httpStatus)
{
    queryIpButton->setEnabled(true);
    passFocus(ipHintLabel, queryIpButton);
    const bool ok = reply["ok"_L1].toBool();
    const QString ip = reply["ip"_L1].toString().trimmed();
    if (!ok || ip.isEmpty()) {
        const QString message = reply["message"_L1].toString();
        ipHintLabel->setText(message.isEmpty() ? tr("IP-Abfrage fehlgeschlagen (HTTP %1)").arg(httpStatus) : message);
        return;
    }
    publicHostEdit->setText(ip);
    saveSettings();
    updateUrls();
    ipHintLabel->setText(tr("Öffentliche IP erkannt: %1").arg(ip));
    appendLog(tr("NETZWERK | Öffentliche IP: %1").arg(ip));
}
