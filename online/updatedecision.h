// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

/// An installer that is offered to the user.
struct UpdateOffer
{
    QString url;
    QString sha256; ///< 64 lower-case hexadecimal digits
    QString version;

    bool operator==(const UpdateOffer &) const = default;
};

/// Effect of a check on the present offer.
enum class OfferChange {
    Keep,     ///< no effect: the response is no manifest
    Hide,     ///< the offer stays, its button is hidden: the manifest's version cannot be compared
    Withdraw, ///< the offer is removed
    Replace,  ///< UpdateDecision::offer replaces the offer, the button is shown
};

/// Outcome of an update check.
struct UpdateDecision
{
    /// The response was a JSON object of allowed length, with any content.
    bool isAnswered = false;
    /// Text for the user, in German.
    QString text;
    OfferChange change = OfferChange::Keep;
    /// Valid with OfferChange::Replace.
    UpdateOffer offer = {};

    bool operator==(const UpdateDecision &) const = default;
};

/// Evaluates the response to an update check for the installed version \a installed.
///
/// \param body the manifest's bytes; a longer one may be truncated after maximumManifestBytes + 1 bytes
/// \param manual the user started the check: only then the text says that the installed version is the newest
UpdateDecision decideUpdate(const QByteArray &body, const QString &installed, bool manual);

/// The text with the installed version, shown without an update.
QString installedVersionText(const QString &installed);
