// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>
#include <QUrl>

/// True when \a address is an https address of the vendor's host or of one of its subdomains.
///
/// The comparison is case-sensitive, on what QUrl gives for scheme and host: it has lower-cased both while parsing.
/// User information, port, path and query play no part; a host with a trailing dot is another name.
bool isVendorAddress(const QUrl &address);

/// True when \a address is a vendor's address whose decoded path ends in ".exe", in upper or lower case.
bool isInstallerAddress(const QUrl &address);

/// True when \a text, parsed tolerantly, is a valid address for which isInstallerAddress() holds.
bool isOfferedInstallerAddress(const QString &text);
