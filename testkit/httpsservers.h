// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QTcpSocket>

/// A response of the scripted server for one target; see testkit/tlsserver.py.
struct ServerResponse
{
    int status = 200;
    QByteArray body = {};
    /// Number of bytes "x" after the body.
    qint64 fill = 0;
    QList<std::pair<QString, QString>> headers = {};
    /// "length", "chunked" or "close".
    QString framing = QStringLiteral("length");
    /// Content-Length; negative: the real length.
    qint64 announced = -1;
    /// "end", "break" or "stall".
    QString then = QStringLiteral("end");
    /// Milliseconds before the last byte of the body.
    int pauseMs = 0;
};

/// A redirect to \a target.
inline ServerResponse redirectTo(const QString &target)
{
    return {.status = 302, .headers = {{QStringLiteral("Location"), target}}};
}

/// A received request, unchanged.
struct ServerRequest
{
    QString endpoint;
    QByteArray head;
    QByteArray body;
};

/// The servers started by testkit/withservers.py; the scripted server is reset.
class HttpsServers
{
public:
    /// Connects to the control endpoint; isUsable() is false without the servers.
    HttpsServers();

    [[nodiscard]] bool isUsable() const { return control.state() == QTcpSocket::ConnectedState; }
    /// PEM file of the test authority.
    [[nodiscard]] QString authorityFile() const;
    [[nodiscard]] quint16 endpoint(const QString &name) const;
    /// A text of withservers.py's data, for example "serviceRoot"; empty if it is missing.
    [[nodiscard]] QString text(const QString &name) const;

    /// Sets the response for \a target.
    void respond(const QString &target, const ServerResponse &response);
    [[nodiscard]] QList<ServerRequest> requests();
    /// Number of connections since the last reset.
    [[nodiscard]] int connections();
    /// Deletes responses and requests and ends all stalls.
    void reset();

private:
    QJsonObject command(const QJsonObject &object);

    QJsonObject description;
    QTcpSocket control;
};
