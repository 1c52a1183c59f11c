// SPDX-License-Identifier: GPL-2.0-or-later
// Parsing of update manifests, and the decision whether the offer is installable.
#include "check.h"
#include "updatedecision.h"
#include "updatemanifest.h"
#include "updaterules.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

#include <algorithm>
#include <cstdint>

namespace {

constexpr qsizetype maximumBytes = 65536;

/// The expected text of a member; empty unless \a value is a string.
QString expectedText(const QJsonObject &object, const char *name)
{
    const QJsonValue value = object[QLatin1StringView(name)];
    return value.isString() ? value.toString().trimmed() : QString();
}

void requireMembers(const UpdateManifest &manifest, const QJsonObject &object)
{
    const QString product = expectedText(object, "product");
    require(product.isEmpty() || product == QStringLiteral("tarvoline-srtla"), "the manifest of another product");
    require(manifest.latestVersion == expectedText(object, "latest_version"), "the version");
    require(manifest.downloadUrl == expectedText(object, "download_url"), "the address");
    require(manifest.releaseNotes == expectedText(object, "release_notes"), "the notes");
    require(manifest.sha256 == expectedText(object, "sha256").toLower(), "the digest");
    require(manifest.installMode == expectedText(object, "install_mode"), "the install mode");
}

void requireSafeOffer(const UpdateManifest &manifest)
{
    if (!isInstallableOffer(manifest.downloadUrl, manifest.sha256, manifest.installMode)) {
        return;
    }
    const auto isHex = [](QChar c) {
        return (c >= QLatin1Char('0') && c <= QLatin1Char('9')) || (c >= QLatin1Char('a') && c <= QLatin1Char('f'));
    };
    const QUrl url(manifest.downloadUrl);
    require(url.scheme() == QStringLiteral("https"), "an installer without TLS");
    require(url.path().toLower().endsWith(QStringLiteral(".exe")), "an installer without .exe");
    require(manifest.sha256.size() == 64 && std::ranges::all_of(manifest.sha256, isHex), "an installer without digest");
}

void requireSafeDecision(const QByteArray &body, const UpdateManifest &manifest)
{
    const UpdateDecision decision = decideUpdate(body, QStringLiteral("0.9.2"), true);
    const UpdateOffer announced{manifest.downloadUrl, manifest.sha256, manifest.latestVersion};
    const bool isInstallable = isInstallableOffer(manifest.downloadUrl, manifest.sha256, manifest.installMode);
    require(decision.isAnswered && !decision.text.isEmpty(), "the text for a valid response");
    if (decision.change == OfferChange::Replace) {
        require(isInstallable && decision.offer == announced, "the offer of the manifest");
    } else {
        require(decision.offer == UpdateOffer(), "the offer of another decision");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray body(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const ManifestReading reading = readUpdateManifest(body);
    const QJsonDocument document = QJsonDocument::fromJson(body);
    require(reading.isJsonObject == (body.size() <= maximumBytes && document.isObject()), "isJsonObject");
    require(reading.isJsonObject || !reading.manifest, "a manifest without a JSON object");
    if (reading.isJsonObject) {
        const QString product = expectedText(document.object(), "product");
        const bool usable = (product.isEmpty() || product == QStringLiteral("tarvoline-srtla")) &&
                            !expectedText(document.object(), "latest_version").isEmpty();
        require(reading.manifest.has_value() == usable, "the presence of a manifest");
    }
    if (reading.manifest) {
        requireMembers(*reading.manifest, document.object());
        requireSafeOffer(*reading.manifest);
        requireSafeDecision(body, *reading.manifest);
    }
    return 0;
}
