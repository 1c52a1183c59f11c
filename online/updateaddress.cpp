// SPDX-License-Identifier: GPL-2.0-or-later
#include "updateaddress.h"

#include "buildspec.h"

using namespace Qt::StringLiterals;

bool isVendorAddress(const QUrl &address)
{
    if (address.scheme() != "https"_L1) {
        return false;
    }
    const QString host = address.host();
    const QString vendor = QString::fromUtf8(vendorHost);
    // With the dot: any stranger can register a name that merely ends in the vendor's letters.
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
