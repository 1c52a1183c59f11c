// SPDX-License-Identifier: GPL-2.0-or-later
#include "updateoffer.h"

#include "updateaddress.h"

#include <QRegularExpression>
#include <QVersionNumber>

using namespace Qt::StringLiterals;

VersionOrder compareVersions(const QString &offered, const QString &installed)
{
    const QVersionNumber offeredNumber = QVersionNumber::fromString(offered);
    const QVersionNumber installedNumber = QVersionNumber::fromString(installed);
    if (offeredNumber.isNull() || installedNumber.isNull()) {
        return VersionOrder::Unreadable;
    }
    return QVersionNumber::compare(offeredNumber, installedNumber) > 0 ? VersionOrder::Newer
                                                                       : VersionOrder::SameOrOlder;
}

bool isInstallableOffer(const QString &downloadUrl, const QString &sha256, const QString &installMode)
{
    static const QRegularExpression digest(u"^[0-9a-f]{64}$"_s);
    return isOfferedInstallerAddress(downloadUrl) && digest.match(sha256).hasMatch() &&
           (installMode.isEmpty() || installMode == "installer_exe"_L1);
}
