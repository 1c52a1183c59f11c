// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>

/// How an offered version stands to the installed one.
enum class VersionOrder {
    Unreadable,  ///< one of the two texts does not begin with a number
    SameOrOlder, ///< nothing to install
    Newer,
};

/// Compares two version texts by their leading numeric segments (QVersionNumber); what follows these is ignored.
///
/// Of two versions with equal leading segments the longer one is newer: 0.9.2.0 is newer than 0.9.2.
VersionOrder compareVersions(const QString &offered, const QString &installed);

/// True when an offered installer may be downloaded and started: its address is the vendor's, there is a digest to
/// check it by, and it is installed the one way that is known here.
///
/// \param downloadUrl the installer's address as text
/// \param sha256 the announced digest: 64 lower-case hexadecimal digits
/// \param installMode empty or "installer_exe"
bool isInstallableOffer(const QString &downloadUrl, const QString &sha256, const QString &installMode);
