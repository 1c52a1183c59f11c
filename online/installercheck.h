// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

/// The most bytes that an installer may have: 250 MiB. It is held in memory as a whole.
inline constexpr qint64 maximumInstallerBytes = 262144000;

/// What a downloaded installer is worth.
enum class InstallerVerdict {
    Genuine,
    WrongSize,   ///< empty or over maximumInstallerBytes
    WrongDigest, ///< not the bytes that were announced
};

/// True when an installer may have \a bytes bytes.
bool isInstallerSize(qint64 bytes);

/// Checks a downloaded installer: its size first, then its SHA-256 digest against \a sha256 (hexadecimal, any case).
InstallerVerdict checkInstaller(const QByteArray &data, const QString &sha256);

/// The name under which the installer of \a version (as the manifest gave it) is saved.
QString installerFileName(const QString &version);
