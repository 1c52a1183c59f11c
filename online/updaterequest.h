// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QNetworkRequest>
#include <QUrl>

/// The request for the vendor's update manifest: never from a cache, with 20 seconds for each silence.
QNetworkRequest manifestRequest();

/// The request for the installer at \a address, with 2 minutes for each silence.
QNetworkRequest installerRequest(const QUrl &address);
