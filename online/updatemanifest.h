// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// The most bytes that an update manifest may have.
inline constexpr qint64 maximumManifestBytes = 65536;

/// What the manifest announces: texts without surrounding white space, empty where a member is missing or no string.
struct UpdateManifest
{
    QString latestVersion; ///< never empty
    QString downloadUrl;
    QString releaseNotes;
    QString sha256; ///< lower case
    QString installMode;

    bool operator==(const UpdateManifest &) const = default;
};

/// What came of reading a manifest's bytes.
struct ManifestReading
{
    /// The bytes were one JSON object of allowed length, whatever it said: an update server has answered.
    bool isJsonObject = false;
    /// Present when the object is a manifest of this product with a version.
    std::optional<UpdateManifest> manifest;
};

/// Reads the body of "/update.json".
///
/// A body of more than maximumManifestBytes is refused unparsed; it is enough to pass one byte more than that. The
/// member "product" may be missing or empty, otherwise it names this product exactly.
ManifestReading readUpdateManifest(const QByteArray &body);
