// SPDX-License-Identifier: GPL-2.0-or-later
#include "updatemanifest.h"

#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

/// This product's name in a manifest.
constexpr auto productName = "tarvoline-srtla"_L1;

QString trimmedText(const QJsonObject &object, QLatin1StringView key)
{
    return object.value(key).toString().trimmed();
}

} // namespace

ManifestReading readUpdateManifest(const QByteArray &body)
{
    if (body.size() > maximumManifestBytes) {
        return {};
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        return {};
    }

    const QJsonObject object = document.object();
    const QString product = trimmedText(object, "product"_L1);
    const UpdateManifest manifest{
        .latestVersion = trimmedText(object, "latest_version"_L1),
        .downloadUrl = trimmedText(object, "download_url"_L1),
        .releaseNotes = trimmedText(object, "release_notes"_L1),
        .sha256 = trimmedText(object, "sha256"_L1).toLower(),
        .installMode = trimmedText(object, "install_mode"_L1),
    };
    if ((!product.isEmpty() && product != productName) || manifest.latestVersion.isEmpty()) {
        return {.isJsonObject = true, .manifest = std::nullopt};
    }
    return {.isJsonObject = true, .manifest = manifest};
}
