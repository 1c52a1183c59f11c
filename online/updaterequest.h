// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QNetworkRequest>
#include <QUrl>

/// The request for the vendor's update manifest, without a cache, with 20 s inactivity timeout.
QNetworkRequest manifestRequest();

/// The request for the installer at \a address, with 2 min inactivity timeout.
QNetworkRequest installerRequest(const QUrl &address);
