// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "socketreserve.h"
#include "srtlaendpoint.h"
#include "udpreading.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QHash>
#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QSharedPointer>
#include <QTimer>
#include <QUdpSocket>

struct SrtlaGroup;
struct SrtlaPath;
enum class SenderDatagram;

/// Receives bonded SRTLA senders on one UDP port, joins each sender's links into a group, forwards the group's SRT
/// packets to a local SRT listener and sends the listener's replies back over the links.
///
/// Everything runs in the event loop of the engine's thread. A slot connected to the engine's signals may call start,
/// stop and shutdown: the latest call decides, and an earlier call that is still emitting signals emits no further
/// ones. No slot may destroy the engine.
class SrtlaEngine : public QObject
{
    Q_OBJECT

public:
    class SrtSocket;

    explicit SrtlaEngine(QObject *parent = nullptr);
    /// Shuts down without a signal, as shutdown does.
    ~SrtlaEngine() override;

    /// Listens for senders on \a newListenPort of every local IPv4 address, bound exclusively, and forwards to the SRT
    /// listener at \a newTargetAddress and \a newTargetPort. A running session is stopped first. Returns whether the
    /// engine runs; a failure is reported through statusChanged and logMessage with Qt's error text. After shutdown the
    /// result is false, and no signal is emitted.
    bool start(quint16 newListenPort, const QHostAddress &newTargetAddress, quint16 newTargetPort);

    /// Ends the session: removes every group, closes the port and emits the signals, also when nothing runs.
    void stop();

    /// Ends the session without a signal. The engine cannot be started again.
    void shutdown();

    /// Whether the listen port is bound.
    [[nodiscard]] bool isRunning() const;

Q_SIGNALS:
    /// True after a successful start, false at the end of stop.
    void runningChanged(bool running);
    /// One short line about the present state, in German unless translated.
    void statusChanged(const QString &text);
    /// Every second while running and once at stop. \a packets and \a bytes count every datagram received from senders
    /// since the last start; \a megabitsPerSecond (10^6 bits) is their rate since the previous emission.
    void statisticsChanged(int groups, int paths, double megabitsPerSecond, quint64 packets, quint64 bytes);
    /// One line per event, without a time stamp.
    void logMessage(const QString &line);

protected:
    /// Milliseconds since the last successful start, 0 before the first: the only time base. Virtual for tests.
    [[nodiscard]] virtual qint64 nowMs() const;

    /// The receiver's half of a new group's id: 128 random bytes. Virtual for tests.
    [[nodiscard]] virtual QByteArray drawReceiverId() const;

private Q_SLOTS:
    void readClientDatagrams();
    void cleanupSessions();
    void publishStatistics();

private:
    friend struct EngineProbe; // access to the tables for tests

    // Start and stop: srtlaengine.cpp. Each emits signals only while \a call is the latest of start, stop and shutdown.
    [[nodiscard]] bool beginSession(quint64 call);
    [[nodiscard]] bool reportBindError(quint64 call);
    void endSession(quint64 call);

    // From senders: srtlaengine_clientdatagrams.cpp
    void handleDatagram(const QByteArray &datagram, const SrtlaEndpoint &sender);
    void handleReg1(const QByteArray &datagram, const SrtlaEndpoint &sender);
    void handleReg2(const QByteArray &datagram, const SrtlaEndpoint &sender);
    void handlePathPacket(const QSharedPointer<SrtlaGroup> &group, SrtlaPath &path, SenderDatagram kind,
                          const QByteArray &datagram, const SrtlaEndpoint &sender);
    void sendToSender(const QByteArray &datagram, const SrtlaEndpoint &endpoint);

    // To and from the SRT listener: srtlaengine_srtside.cpp
    void ensureSrtSocket(SrtlaGroup &group);
    void forwardToSrt(const QSharedPointer<SrtlaGroup> &group, const QByteArray &datagram);
    void readSrtDatagrams(const QByteArray &groupId);
    void reportSrtSocketError(const QByteArray &groupId);
    void routeSrtReply(SrtlaGroup &group, const QByteArray &datagram);
    void releaseAfterHandler(QSharedPointer<SrtlaGroup> group);

    // Groups and links: srtlaengine_sessions.cpp, the only file that changes the tables below.
    /// Creates the group of a REG1 with a new id and adds the group and its sender to the tables.
    QSharedPointer<SrtlaGroup> openGroup(const QByteArray &senderId, const SrtlaEndpoint &sender);
    /// Reserves space for one more group such that a registration grows at most one table.
    void reserveGroup();
    [[nodiscard]] QByteArray makeGroupId(const QByteArray &senderId) const;
    void addPath(SrtlaGroup &group, const SrtlaEndpoint &endpoint);
    void removePath(SrtlaGroup &group, const SrtlaEndpoint &endpoint);
    /// The group with the id; null also while the signal about its removal is emitted.
    [[nodiscard]] QSharedPointer<SrtlaGroup> findGroup(const QByteArray &groupId) const;
    /// The group that the endpoint is a registered link of, or null.
    [[nodiscard]] QSharedPointer<SrtlaGroup> groupForPath(const SrtlaEndpoint &endpoint);
    void removeGroup(const QByteArray &groupId, const QString &reason);
    void removeAllGroups(const QString &reason);
    /// Without a signal or a log line.
    void dropAllGroups();
    /// False when the time limit of one event loop iteration was reached before all were removed.
    bool removeSilentPaths(qint64 now);
    void removeExpiredGroups();

    QUdpSocket clientSocket;
    QHostAddress targetAddress;
    quint16 listenPort = 0;
    quint16 targetPort = 0;
    QHash<QByteArray, QSharedPointer<SrtlaGroup>> groups;
    /// Group id by registered link. An id instead of a pointer: the lookup of a stale entry finds no group.
    QHash<SrtlaEndpoint, QByteArray> pathIndex;
    /// Group id by the endpoint that sent the REG1.
    QHash<SrtlaEndpoint, QByteArray> senderIndex;
    QTimer cleanupTimer;
    QTimer statisticsTimer;
    QElapsedTimer clock;
    quint64 receivedPackets = 0;
    quint64 receivedBytes = 0;
    quint64 lastPublishedBytes = 0;
    qint64 lastPublishedMs = 0;
    bool shuttingDown = false;
    /// Number of calls of start, stop and shutdown.
    quint64 latestCall = 0;
    /// Group ids by the sender's half of the id, so that a REG1 does not search all groups. A sender has one group, and
    /// briefly two when a slot connected to logMessage runs an event loop in which the sender registers again.
    QMultiHash<QByteArray, QByteArray> sessionIndex;
    /// Ids of timed-out groups that are not removed yet.
    QList<QByteArray> expiredGroups;
    SocketReserve socketReserve;
    SpareBuffer spareBuffer;
    ReadAhead readAhead; ///< of the senders' datagrams
    /// Group of the most recent packet of a link (one-entry cache).
    QSharedPointer<SrtlaGroup> recentGroup;
};
