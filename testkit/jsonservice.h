// SPDX-License-Identifier: GPL-2.0-or-later
// Control of jsonservice.py, the server started by withjsonservice.py.
#pragma once

#include "testkit/timelimits.h"

#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <QTcpSocket>

namespace JsonService {

/// The port \a what ("https", "expired", …; see withjsonservice.py), 0 without one.
inline int port(const QString &what)
{
    const QByteArray ports = qgetenv("TARVOLINE_JSON_SERVICE");
    return QJsonDocument::fromJson(ports).object().value(what).toInt();
}

/// Sends a command and returns "connections" (by port), "held" and "probes" (requests).
inline QJsonObject control(const QJsonObject &command = {})
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, static_cast<quint16>(port(QStringLiteral("control"))));
    socket.write(QJsonDocument(command).toJson(QJsonDocument::Compact) + '\n');
    while (!socket.canReadLine()) {
        if (!socket.waitForReadyRead(waitMs)) {
            qFatal("The test server does not respond: %s", qPrintable(socket.errorString()));
        }
    }
    return QJsonDocument::fromJson(socket.readLine()).object();
}

/// Number of accepted connections at the port \a what.
inline int connections(const QString &what)
{
    return control().value(QStringLiteral("connections")).toObject().value(what).toInt(-1);
}

/// Number of received requests to "/hold".
inline int heldRequests()
{
    return control().value(QStringLiteral("held")).toInt(-1);
}

/// Received requests to the path of the public address query.
inline QJsonArray probes()
{
    return control().value(QStringLiteral("probes")).toArray();
}

/// The query for the public address gets the response of the path \a path.
inline void answerProbesAs(const QString &path)
{
    control({{QStringLiteral("probe"), QJsonObject{{QStringLiteral("path"), path}}}});
}

/// The query for the public address gets \a status and \a body.
inline void answerProbes(int status, const QString &body)
{
    control(
        {{QStringLiteral("probe"), QJsonObject{{QStringLiteral("status"), status}, {QStringLiteral("body"), body}}}});
}

/// Requests to "/hold" get no response until release().
inline void hold()
{
    control({{QStringLiteral("hold"), true}});
}

inline void release()
{
    control({{QStringLiteral("release"), true}});
}

} // namespace JsonService
