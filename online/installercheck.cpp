// SPDX-License-Identifier: GPL-2.0-or-later
#include "installercheck.h"

#include <QCryptographicHash>

using namespace Qt::StringLiterals;

bool isInstallerSize(qint64 bytes)
{
    return bytes > 0 && bytes <= maximumInstallerBytes;
}

InstallerVerdict checkInstaller(const QByteArray &data, const QString &sha256)
{
    if (!isInstallerSize(data.size())) {
        return InstallerVerdict::WrongSize;
    }
    const QByteArray digest = QCryptographicHash::hash(data, QCryptographicHash::Sha256).toHex();
    const bool same = QString::fromLatin1(digest).compare(sha256, Qt::CaseInsensitive) == 0;
    return same ? InstallerVerdict::Genuine : InstallerVerdict::WrongDigest;
}

QString installerFileName(const QString &version)
{
    return u"Tarvoline-SRTLA-Plugin-Setup-v%1.exe"_s.arg(version);
}
