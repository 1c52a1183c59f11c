// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>

/// The two addresses of the receiver, with every text as the user typed it: nothing is parsed, escaped or corrected.
namespace ConnectionAddresses {

/// What is to be typed into the sender app. \a publicHost is trimmed; an empty one is replaced by a German reminder.
QString ofSenderApp(const QString &publicHost, const QString &listenPort, const QString &streamId);

/// What the media source listens on. \a passphrase is left out when empty.
QString ofMediaSource(const QString &targetPort, const QString &passphrase);

} // namespace ConnectionAddresses
