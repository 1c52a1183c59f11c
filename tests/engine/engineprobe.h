// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "srtlaengine.h"
#include "srtlagroup.h"

/// Access to an engine's tables and private slots.
struct EngineProbe
{
    SrtlaEngine &engine;

    QUdpSocket &clientSocket() const { return engine.clientSocket; }
    const QHostAddress &targetAddress() const { return engine.targetAddress; }
    quint16 listenPort() const { return engine.listenPort; }
    quint16 targetPort() const { return engine.targetPort; }
    const QHash<QByteArray, QSharedPointer<SrtlaGroup>> &groups() const { return engine.groups; }
    const QHash<SrtlaEndpoint, QByteArray> &pathIndex() const { return engine.pathIndex; }
    const QHash<SrtlaEndpoint, QByteArray> &senderIndex() const { return engine.senderIndex; }
    const QMultiHash<QByteArray, QByteArray> &sessionIndex() const { return engine.sessionIndex; }
    QTimer &cleanupTimer() const { return engine.cleanupTimer; }
    QTimer &statisticsTimer() const { return engine.statisticsTimer; }
    const QElapsedTimer &clock() const { return engine.clock; }
    quint64 receivedPackets() const { return engine.receivedPackets; }
    quint64 &receivedBytes() const { return engine.receivedBytes; }
    qint64 lastPublishedMs() const { return engine.lastPublishedMs; }

    void readClientDatagrams() const { engine.readClientDatagrams(); }
    /// Reads until no datagram is pending, as the event loop does.
    void readPendingDatagrams() const
    {
        do {
            engine.readClientDatagrams();
        } while (engine.isRunning() && engine.clientSocket.hasPendingDatagrams());
    }
    void readSrtDatagrams(const QByteArray &groupId) const { engine.readSrtDatagrams(groupId); }
    void cleanupSessions() const { engine.cleanupSessions(); }
    void publishStatistics() const { engine.publishStatistics(); }
    void handleDatagram(const QByteArray &datagram, const SrtlaEndpoint &sender) const
    {
        engine.handleDatagram(datagram, sender);
    }
    void removeGroup(const QByteArray &id, const QString &reason) const { engine.removeGroup(id, reason); }

    /// The group with the given id, or null.
    SrtlaGroup *group(const QByteArray &id) const { return engine.groups.value(id).get(); }
    /// The link with the given endpoint, or null.
    SrtlaPath *path(const QByteArray &id, const SrtlaEndpoint &endpoint) const
    {
        SrtlaGroup *const owner = group(id);
        const auto found = owner ? owner->paths.find(endpoint) : QHash<SrtlaEndpoint, SrtlaPath>::iterator();
        return owner && found != owner->paths.end() ? &*found : nullptr;
    }
};
