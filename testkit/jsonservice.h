// SPDX-License-Identifier: GPL-2.0-or-later
// The test's side of jsonservice.py, the server that withjsonservice.py has started.
#pragma once

#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <QTcpSocket>

namespace JsonService {

/// The port for \a what ("https", "expired", …; see withjsonservice.py), 0 when there is none.
inline int port(const QString &what)
{
    const QByteArray ports = qgetenv("TARVOLINE_JSON_SERVICE");
    return QJsonDocument::fromJson(ports).object().value(what).toInt();
}

/// Sends a command and returns what has happened so far: "connections" (by port), "held" and "probes" (requests).
inline QJsonObject control(const QJsonObject &command = {})
{
    constexpr int patienceMs = 30000;
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, static_cast<quint16>(port(QStringLiteral("control"))));
    socket.write(QJsonDocument(command).toJson(QJsonDocument::Compact) + '\n');
    while (!socket.canReadLine()) {
        if (!socket.waitForReadyRead(patienceMs)) {
            qFatal("The test's server does not answer: %s", qPrintable(socket.errorString()));
        }
    }
    return QJsonDocument::fromJson(socket.readLine()).object();
}

/// Connections accepted so far at the port for \a what.
inline int connections(const QString &what)
{
    return control().value(QStringLiteral("connections")).toObject().value(what).toInt(-1);
}

/// Requests to "/hold" that have arrived so far.
inline int heldRequests()
{
    return control().value(QStringLiteral("held")).toInt(-1);
}

/// Requests that reached the path of the public address query so far.
inline QJsonArray probes()
{
    return control().value(QStringLiteral("probes")).toArray();
}

/// From now on the query for the public address is answered as the path \a path is.
inline void answerProbesAs(const QString &path)
{
    control({{QStringLiteral("probe"), QJsonObject{{QStringLiteral("path"), path}}}});
}

/// From now on the query for the public address gets \a status and \a body.
inline void answerProbes(int status, const QString &body)
{
    control(
        {{QStringLiteral("probe"), QJsonObject{{QStringLiteral("status"), status}, {QStringLiteral("body"), body}}}});
}

/// Requests to "/hold" get no answer from now on, until release().
inline void hold()
{
    control({{QStringLiteral("hold"), true}});
}

inline void release()
{
    control({{QStringLiteral("release"), true}});
}

} // namespace JsonService
