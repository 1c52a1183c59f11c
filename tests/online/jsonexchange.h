// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "httpsjson.h"
#include "testkit/httpsjsonexpectations.h"
#include "testkit/jsonservice.h"

#include <QJsonArray>
#include <QTest>

#include <initializer_list>

// Exchanges with the servers of withjsonservice.py.
namespace HttpsJson {

/// An address at the test server; \a portName as in JsonService::port().
inline QString urlAt(const QString &portName, const QString &objectName)
{
    return QStringLiteral("https://localhost:%1").arg(JsonService::port(portName)) + objectName;
}

inline QJsonObject echoOf(const QString &objectName, const QByteArray &body = "{}")
{
    return exchangeJson(urlAt(QStringLiteral("https"), objectName), body).object;
}

/// Marks rows in which Wine's behaviour differs from that of Windows.
inline void expectFailureUnderWine(const std::initializer_list<const char *> &rows, const char *reason)
{
    if (runsUnderWine()) {
        for (const char *row : rows) {
            QEXPECT_FAIL(row, reason, Abort);
        }
    }
}

/// The values of the header \a name, as the server received them.
inline QStringList headerValues(const QJsonObject &request, const QString &name)
{
    QStringList values;
    const QJsonArray headers = request[QLatin1StringView("headers")].toArray();
    for (const QJsonValue &header : headers) {
        const QJsonArray pair = header.toArray();
        if (pair[0].toString().compare(name, Qt::CaseInsensitive) == 0) {
            values += pair[1].toString();
        }
    }
    return values;
}

} // namespace HttpsJson
