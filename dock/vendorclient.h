// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QJsonObject>
#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>

/// Called with the reply object and the HTTP status of a JSON request (0 without a response). After a failure the
/// object is "ok" = false and a German "message".
using JsonReplyCallback = std::function<void(const QJsonObject &reply, int httpStatus)>;

/// Posts \a request as JSON to \a path (begins with "/") of the vendor's service and returns at once; the exchange runs
/// on a worker of Qt's global pool. Call on the main thread, where \a callback runs later, at most once; not if
/// \a receiver, an object of that thread, was destroyed before.
void postToVendor(const QPointer<QObject> &receiver, const QString &path, const QJsonObject &request,
                  JsonReplyCallback callback);
