// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QTcpSocket>

/// How the scripted server answers for one target; see testkit/tlsserver.py.
struct ServerAnswer
{
    int status = 200;
    QByteArray body = {};
    /// Bytes "x" that follow the body.
    qint64 fill = 0;
    QList<std::pair<QString, QString>> headers = {};
    /// "length", "chunked" or "close".
    QString framing = QStringLiteral("length");
    /// What Content-Length says; negative: the truth.
    qint64 announced = -1;
    /// "end", "break" or "stall".
    QString then = QStringLiteral("end");
    /// Milliseconds before the last byte of the body.
    int pauseMs = 0;
};

/// The answer that sends a client on to \a target.
inline ServerAnswer redirectTo(const QString &target)
{
    return {.status = 302, .headers = {{QStringLiteral("Location"), target}}};
}

/// A request as it came in, byte for byte.
struct ServerRequest
{
    QString door;
    QByteArray head;
    QByteArray body;
};

/// The servers that testkit/withservers.py runs beside the test, the scripted one reset.
class HttpsServers
{
public:
    /// Connects to the control door; isUsable() is false when the test runs without the servers.
    HttpsServers();

    [[nodiscard]] bool isUsable() const { return control.state() == QTcpSocket::ConnectedState; }
    /// PEM file of the authority to trust.
    [[nodiscard]] QString authorityFile() const;
    [[nodiscard]] quint16 door(const QString &name) const;
    /// A text of withservers.py's description, like "serviceRoot"; empty where there is none.
    [[nodiscard]] QString text(const QString &name) const;

    void answer(const QString &target, const ServerAnswer &answer);
    [[nodiscard]] QList<ServerRequest> requests();
    /// Connections that were opened since the last reset, whatever became of them.
    [[nodiscard]] int connections();
    /// Forgets answers and requests, and ends every stalled answer.
    void reset();

private:
    QJsonObject command(const QJsonObject &object);

    QJsonObject description;
    QTcpSocket control;
};
