// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "buildspec.h"

#include <QJsonDocument>
#include <QJsonObject>

// Expected texts of the update check, and manifests.
namespace UpdateCheck {

inline const QString vendor = QString::fromUtf8(vendorHost);
inline const QString digest = QStringLiteral("0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef");

inline const QString installedText = QStringLiteral("Installierte Version: 0.9.2");
inline const QString upToDateText = QStringLiteral("Du hast die neueste Version. Installierte Version: 0.9.2");
inline const QString searchingText = QStringLiteral("Suche nach einer neuen Version … (installiert: 0.9.2)");
inline const QString invalidReplyText =
    QStringLiteral("Installierte Version: 0.9.2\nUngültige Antwort des Update-Servers.");
inline const QString invalidVersionText =
    QStringLiteral("Installierte Version: 0.9.2\nUngültige Versionsangabe vom Server.");
inline const QString impossibleText = QStringLiteral("Installierte Version: 0.9.2\nUpdateprüfung nicht möglich.\n");
inline const QString newText = QStringLiteral("Neue Version 1.0 verfügbar. Installiert ist 0.9.2.");
inline const QString notInstallableText =
    QStringLiteral("\nDas Update kann aus Sicherheitsgründen nicht automatisch installiert werden.");

inline QString installerUrl()
{
    return QStringLiteral("https://%1/setup.exe").arg(vendor);
}

inline QByteArray manifest(const QString &version, QJsonObject members = {})
{
    members.insert(QLatin1StringView("latest_version"), version);
    return QJsonDocument(members).toJson();
}

inline QByteArray installableManifest(const QString &version)
{
    return manifest(version, {{QStringLiteral("download_url"), installerUrl()}, {QStringLiteral("sha256"), digest}});
}

} // namespace UpdateCheck
