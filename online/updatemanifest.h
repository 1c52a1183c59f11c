// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// Maximum size of an update manifest in bytes.
inline constexpr qint64 maximumManifestBytes = 65536;

/// The manifest's members as trimmed texts, empty where a member is missing or is no string.
struct UpdateManifest
{
    QString latestVersion; ///< never empty
    QString downloadUrl;
    QString releaseNotes;
    QString sha256; ///< lower case
    QString installMode;

    bool operator==(const UpdateManifest &) const = default;
};

/// Result of parsing a manifest.
struct ManifestReading
{
    /// The bytes were a JSON object of allowed length, with any content.
    bool isJsonObject = false;
    /// Present when the object is a manifest of this product with a version.
    std::optional<UpdateManifest> manifest;
};

/// Parses the body of "/update.json".
///
/// A body of more than maximumManifestBytes is rejected without parsing, so a caller needs to read at most one byte
/// more than that. The member "product" may be missing or empty; otherwise it must be this product's name.
ManifestReading readUpdateManifest(const QByteArray &body);
