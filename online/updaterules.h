// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <optional>

class QIODevice;

// What an update has to fulfil before it is offered, downloaded and started. Nothing here touches the network or a
// disk.

/// True when \a address is an https address of the vendor's host or of one of its subdomains.
///
/// The comparison is case-sensitive, on what QUrl gives for scheme and host: it has lower-cased both while parsing.
/// User information, port, path and query play no part; a host with a trailing dot is another name.
bool isVendorAddress(const QUrl &address);

/// True when \a address is a vendor's address whose decoded path ends in ".exe", in upper or lower case.
bool isInstallerAddress(const QUrl &address);

/// True when \a text, parsed tolerantly, is a valid address for which isInstallerAddress() holds.
bool isOfferedInstallerAddress(const QString &text);

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

/// The most bytes that an installer may have: 250 MiB. It is held in memory as a whole.
inline constexpr qint64 maximumInstallerBytes = 262144000;

/// True when an installer may have \a bytes bytes.
bool isInstallerSize(qint64 bytes);

/// Result of the check of a downloaded installer.
enum class InstallerVerdict {
    Genuine,
    WrongSize,   ///< empty or over maximumInstallerBytes
    WrongDigest, ///< not the bytes that were announced
};

/// Checks a downloaded installer: its size first, then its SHA-256 digest against \a sha256 (hexadecimal, any case).
InstallerVerdict checkInstaller(const QByteArray &data, const QString &sha256);

/// True when all that \a file holds from its present position on has the SHA-256 digest \a sha256 (hexadecimal, any
/// case).
bool hasDigest(QIODevice &file, const QString &sha256);

/// The name under which the installer of \a version (as the manifest gave it) is saved. Nothing for a version that
/// would lead the name into another folder, onto another drive or into a file's alternate data stream: one with "/",
/// "\" or ":".
std::optional<QString> installerFileName(const QString &version);
