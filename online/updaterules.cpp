// SPDX-License-Identifier: GPL-2.0-or-later
#include "updaterules.h"

#include "buildspec.h"

#include <QCryptographicHash>
#include <QIODevice>
#include <QRegularExpression>
#include <QVersionNumber>

using namespace Qt::StringLiterals;

namespace {

bool isDigestOf(const QCryptographicHash &hash, const QString &sha256)
{
    return QString::fromLatin1(hash.result().toHex()).compare(sha256, Qt::CaseInsensitive) == 0;
}

} // namespace

bool isVendorAddress(const QUrl &address)
{
    if (address.scheme() != "https"_L1) {
        return false;
    }
    const QString host = address.host();
    const QString vendor = QString::fromUtf8(vendorHost);
    // With the dot, because anyone can register a name that ends in the vendor's letters.
    return host == vendor || host.endsWith(u'.' + vendor);
}

bool isInstallerAddress(const QUrl &address)
{
    return isVendorAddress(address) && address.path().endsWith(".exe"_L1, Qt::CaseInsensitive);
}

bool isOfferedInstallerAddress(const QString &text)
{
    const QUrl address(text);
    return address.isValid() && isInstallerAddress(address);
}

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

bool isInstallerSize(qint64 bytes)
{
    return bytes > 0 && bytes <= maximumInstallerBytes;
}

InstallerVerdict checkInstaller(const QByteArray &data, const QString &sha256)
{
    if (!isInstallerSize(data.size())) {
        return InstallerVerdict::WrongSize;
    }
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(data);
    return isDigestOf(hash, sha256) ? InstallerVerdict::Genuine : InstallerVerdict::WrongDigest;
}

bool hasDigest(QIODevice &file, const QString &sha256)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    return hash.addData(&file) && isDigestOf(hash, sha256);
}

std::optional<QString> installerFileName(const QString &version)
{
    // Rejected on every system, because all systems use the same manifest.
    if (version.contains(u'/') || version.contains(u'\\') || version.contains(u':')) {
        return std::nullopt;
    }
    return u"Tarvoline-SRTLA-Plugin-Setup-v%1.exe"_s.arg(version);
}
