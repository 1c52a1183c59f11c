// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

/// An installer that the user may be asked about.
struct UpdateOffer
{
    QString url;
    QString sha256; ///< 64 lower-case hexadecimal digits
    QString version;

    bool operator==(const UpdateOffer &) const = default;
};

/// Effect of a check on the offer that an earlier one left.
enum class OfferChange {
    Keep,     ///< none: the answer is no manifest
    Hide,     ///< it stays but cannot be chosen: the answer's version says nothing about it
    Withdraw, ///< it is gone
    Replace,  ///< UpdateDecision::offer takes its place and can be chosen
};

/// Outcome of an update check.
struct UpdateDecision
{
    /// The answer was one JSON object of allowed length, whatever it said: an update server has answered.
    bool isAnswered = false;
    /// For the user, in German.
    QString text;
    OfferChange change = OfferChange::Keep;
    /// Meaningful with OfferChange::Replace.
    UpdateOffer offer = {};

    bool operator==(const UpdateDecision &) const = default;
};

/// Decides what the answer to an update check means for a user with version \a installed.
///
/// \param body the manifest's bytes; of one over maximumManifestBytes it is enough to pass one byte more than that
/// \param manual the user asked for the check: only then they are told that there is nothing new
UpdateDecision decideUpdate(const QByteArray &body, const QString &installed, bool manual);

/// The text that names the installed version, for a panel without news.
QString installedVersionText(const QString &installed);
