// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QJsonObject>
#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>

/// Receives the answer to a JSON request: the reply object and the HTTP status (0 when there was no response). After a
/// failure the object holds "ok" = false and a German "message".
using JsonReplyCallback = std::function<void(const QJsonObject &reply, int httpStatus)>;

/// Posts \a request as JSON to \a path (begins with "/") of the vendor's service and returns at once; the exchange runs
/// on a worker of Qt's global pool. For the main thread, where \a callback runs later, at most once, and not at all
/// when
/// \a receiver, an object of that thread, is gone by then.
void postToVendor(const QPointer<QObject> &receiver, const QString &path, const QJsonObject &request,
                  JsonReplyCallback callback);
