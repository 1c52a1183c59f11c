// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>

/// The two connection addresses in the panel. Texts typed by the user are neither parsed nor escaped.
namespace ConnectionAddresses {

/// Address for the sender app. \a publicHost is trimmed; an empty one is replaced by a German placeholder.
QString ofSenderApp(const QString &publicHost, const QString &listenPort, const QString &streamId);

/// Address on which the media source listens. An empty \a passphrase is omitted.
QString ofMediaSource(const QString &targetPort, const QString &passphrase);

} // namespace ConnectionAddresses
