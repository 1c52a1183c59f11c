// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <optional>

class QIODevice;

// Conditions for offering, downloading and starting an update. Pure functions, without network and disk.

/// True when \a address is an https address of the vendor's host or of one of its subdomains.
///
/// The comparison is case-sensitive; QUrl converts scheme and host to lower case when parsing. User information, port,
/// path and query are ignored; a host with a trailing dot is a different name.
bool isVendorAddress(const QUrl &address);

/// True when \a address is a vendor's address whose decoded path ends in ".exe", in upper or lower case.
bool isInstallerAddress(const QUrl &address);

/// True when \a text, parsed tolerantly, is a valid address for which isInstallerAddress() holds.
bool isOfferedInstallerAddress(const QString &text);

/// Relation of an offered version to the installed one.
enum class VersionOrder {
    Unreadable,  ///< one of the two texts does not begin with a number
    SameOrOlder, ///< nothing to install
    Newer,
};

/// Compares two version texts by their leading numeric segments (QVersionNumber); any suffix is ignored.
///
/// Of two versions with equal leading segments the longer one is newer: 0.9.2.0 is newer than 0.9.2.
VersionOrder compareVersions(const QString &offered, const QString &installed);

/// True when an offered installer may be downloaded and started: its address is the vendor's, the digest is well-formed
/// and the install mode is supported.
///
/// \param downloadUrl the installer's address as text
/// \param sha256 the announced digest: 64 lower-case hexadecimal digits
/// \param installMode empty or "installer_exe"
bool isInstallableOffer(const QString &downloadUrl, const QString &sha256, const QString &installMode);

/// Maximum size of an installer in bytes (250 MiB). It is held in memory as a whole.
inline constexpr qint64 maximumInstallerBytes = 262144000;

/// True when an installer may have \a bytes bytes.
bool isInstallerSize(qint64 bytes);

/// Result of the check of a downloaded installer.
enum class InstallerVerdict {
    Genuine,
    WrongSize,   ///< empty or over maximumInstallerBytes
    WrongDigest, ///< the SHA-256 digest differs from the announced one
};

/// Checks the size of a downloaded installer, then its SHA-256 digest against \a sha256 (hexadecimal, any case).
InstallerVerdict checkInstaller(const QByteArray &data, const QString &sha256);

/// True when the content of \a file from its current position on has the SHA-256 digest \a sha256 (hexadecimal, any
/// case).
bool hasDigest(QIODevice &file, const QString &sha256);

/// File name for the installer of \a version (the manifest's text). Empty for a version with "/", "\" or ":", which
/// would refer to another folder, another drive or an alternate data stream.
std::optional<QString> installerFileName(const QString &version);
