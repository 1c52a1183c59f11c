// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "srtlaendpoint.h"
#include "srtlaengine.h"

#include <QByteArray>
#include <QHash>
#include <QHostAddress>
#include <QList>
#include <QUdpSocket>

#include <memory>

/// A group's socket towards the SRT listener: to the listener, each group is one SRT peer.
class SrtlaEngine::SrtSocket : public QUdpSocket
{
public:
    SrtSocket();
    ~SrtSocket() override;

    QByteArray groupId;
    /// Time of the last read, in milliseconds of the engine's clock.
    qint64 lastReadMs = 0;
};

/// One link of a group. Times are milliseconds of the engine's clock.
struct SrtlaPath
{
    QHostAddress address;
    quint16 port = 0;
    qint64 lastActivityMs = 0;
    /// Sequence numbers received on this link and not yet acknowledged, in order of arrival.
    QList<quint32> pendingAcks;
    quint64 packets = 0;
    quint64 bytes = 0;
};

/// One sender's bonded session.
struct SrtlaGroup
{
    /// The sender's 128 bytes and the receiver's 128 random ones.
    QByteArray id;
    /// The sender's half of the id: groups with the same half belong to the same sender.
    QByteArray senderId;
    /// The endpoint that sent the REG1.
    QHostAddress registeredAddress;
    quint16 registeredPort = 0;
    QHash<SrtlaEndpoint, SrtlaPath> paths;
    /// Destination of the listener's packets other than SRT ACKs.
    QHostAddress replyAddress;
    quint16 replyPort = 0;
    /// False until the first SRT packet has arrived; until then only SRT ACKs are sent to the links.
    bool hasReplyEndpoint = false;
    qint64 createdMs = 0;
    qint64 lastActivityMs = 0;
    /// Null until the first packet is forwarded.
    std::unique_ptr<SrtlaEngine::SrtSocket> srtSocket;
    /// Packets were dropped because no socket was available; logged once.
    bool lackedSocket = false;
    /// The removal has begun; the group stays in the table until the signal about it has been emitted.
    bool removed = false;
};
