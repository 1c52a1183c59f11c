// SPDX-License-Identifier: GPL-2.0-or-later
// The sessions: the only file that changes the table of groups and its indexes. Time-outs and statistics go over them.
#include "srtlaengine.h"

#include "srtlagroup.h"
#include "srtlapackets.h"
#include "srtlatexts.h"
#include "turnlimit.h"

#include <QRandomGenerator>

#include <array>

namespace {

/// A link, or a group without links, that has been silent for longer is gone.
constexpr qint64 idleTimeoutMs = 8000;

bool isStale(qint64 lastActivityMs, qint64 now)
{
    return now - lastActivityMs > idleTimeoutMs;
}

/// Gives back the room of a table that has become far too wide, as after a flood: tables don't shrink by themselves.
template<typename Table> void squeezeIfSparse(Table &table)
{
    constexpr qsizetype roomWorthKeeping = 1024;
    constexpr qsizetype sparse = 8; // times what is used
    if (table.capacity() > roomWorthKeeping && table.capacity() / sparse > table.size()) {
        table.squeeze();
    }
}

} // namespace

QSharedPointer<SrtlaGroup> SrtlaEngine::openGroup(const QByteArray &senderId, const SrtlaEndpoint &sender)
{
    auto group = QSharedPointer<SrtlaGroup>::create();
    group->id = makeGroupId(senderId);
    group->senderId = senderId;
    group->registeredAddress = sender.address;
    group->registeredPort = sender.port;
    group->replyAddress = sender.address;
    group->replyPort = sender.port;
    group->createdMs = nowMs();
    group->lastActivityMs = group->createdMs;
    makeRoomForGroup();
    senderIndex.insert(sender, group->id);
    sessionIndex.insert(senderId, group->id);
    groups.insert(group->id, group);
    return group;
}

void SrtlaEngine::makeRoomForGroup()
{
    // A full table doubles, which moves every entry. The three have equally many and would all double at the same
    // registration; with different reserves each one does so at another.
    const qsizetype wanted = groups.size() + 1;
    senderIndex.reserve(wanted * 5 / 4);
    sessionIndex.reserve(wanted * 3 / 2);
}

QByteArray SrtlaEngine::makeGroupId(const QByteArray &senderId) const
{
    QByteArray id;
    do {
        id = senderId + drawReceiverId();
    } while (groups.contains(id));
    return id;
}

QByteArray SrtlaEngine::drawReceiverId() const
{
    // One locked call for all draws; of each 32-bit draw the lowest byte counts.
    std::array<quint32, groupIdBytes - senderIdBytes> draws{};
    QRandomGenerator::global()->fillRange(draws.data(), draws.size());
    QByteArray half;
    half.reserve(draws.size());
    for (const quint32 draw : draws) {
        half.append(static_cast<char>(draw));
    }
    return half;
}

void SrtlaEngine::addPath(SrtlaGroup &group, const SrtlaEndpoint &endpoint)
{
    SrtlaPath path;
    path.address = endpoint.address;
    path.port = endpoint.port;
    path.lastActivityMs = nowMs();
    path.pendingAcks.reserve(sequencesPerAck);
    group.paths.insert(endpoint, path);
    pathIndex.insert(endpoint, group.id);
}

void SrtlaEngine::removePath(SrtlaGroup &group, const SrtlaEndpoint &endpoint)
{
    group.paths.remove(endpoint);
    pathIndex.remove(endpoint);
}

QSharedPointer<SrtlaGroup> SrtlaEngine::findGroup(const QByteArray &groupId) const
{
    const QSharedPointer<SrtlaGroup> group = groups.value(groupId);
    return group && !group->removed ? group : QSharedPointer<SrtlaGroup>();
}

QSharedPointer<SrtlaGroup> SrtlaEngine::groupForPath(const SrtlaEndpoint &endpoint)
{
    const auto indexed = pathIndex.constFind(endpoint);
    if (indexed == pathIndex.constEnd()) {
        return {};
    }
    // The index shares the bytes of its groups' ids: the same bytes in memory are the same id, and 256 of them need not
    // be hashed.
    if (!recentGroup || recentGroup->id.constData() != indexed->constData()) {
        recentGroup = findGroup(*indexed);
    }
    return recentGroup;
}

void SrtlaEngine::removeGroup(const QByteArray &groupId, const QString &reason)
{
    // The reference keeps the group while slots hear of its end, and its id when the caller's lies in a table.
    const QSharedPointer<SrtlaGroup> group = findGroup(groupId);
    if (!group) {
        return;
    }
    group->removed = true;
    if (recentGroup == group) {
        recentGroup.reset();
    }
    senderIndex.remove({group->registeredAddress, group->registeredPort});
    sessionIndex.remove(group->senderId, group->id);
    for (auto path = group->paths.keyBegin(); path != group->paths.keyEnd(); ++path) {
        pathIndex.remove(*path);
    }
    if (group->srtSocket) {
        group->srtSocket->disconnectFromHost();
        group->srtSocket->close();
    }
    Q_EMIT logMessage(SrtlaTexts::groupRemoved(group->id, reason));
    groups.remove(group->id);
}

void SrtlaEngine::removeAllGroups(const QString &reason)
{
    const QList<QByteArray> groupIds = groups.keys();
    for (const QByteArray &groupId : groupIds) {
        removeGroup(groupId, reason);
    }
}

void SrtlaEngine::dropAllGroups()
{
    for (const QSharedPointer<SrtlaGroup> &group : std::as_const(groups)) {
        group->removed = true;
        if (group->srtSocket) {
            group->srtSocket->blockSignals(true);
            disconnect(group->srtSocket.get(), nullptr, this, nullptr);
            group->srtSocket->abort();
            group->srtSocket->close();
        }
    }
    recentGroup.reset();
    expiredGroups.clear();
    groups.clear();
    pathIndex.clear();
    senderIndex.clear();
    sessionIndex.clear();
}

void SrtlaEngine::cleanupSessions()
{
    if (!removeSilentPaths(nowMs())) {
        // The rest in the event loop's next turn: each removal is told, and a flood leaves thousands.
        QMetaObject::invokeMethod(this, &SrtlaEngine::cleanupSessions, Qt::QueuedConnection);
        return;
    }
    if (!expiredGroups.isEmpty()) {
        return; // the last tick's are still being removed
    }
    const qint64 now = nowMs(); // anew: a slot may have started another session, whose clock begins at 0
    for (const QSharedPointer<SrtlaGroup> &group : std::as_const(groups)) {
        if (group->paths.isEmpty() && isStale(group->lastActivityMs, now)) {
            expiredGroups.append(group->id);
        }
    }
    removeExpiredGroups();
}

void SrtlaEngine::removeExpiredGroups()
{
    TurnLimit limit;
    while (!expiredGroups.isEmpty()) {
        if (limit.isOver([this] { return nowMs(); })) {
            QMetaObject::invokeMethod(this, &SrtlaEngine::removeExpiredGroups, Qt::QueuedConnection);
            return;
        }
        // In an earlier turn's list a group may have got a link since.
        const QSharedPointer<SrtlaGroup> group = findGroup(expiredGroups.takeFirst());
        if (group && group->paths.isEmpty() && isStale(group->lastActivityMs, nowMs())) {
            removeGroup(group->id, SrtlaTexts::reasonTimeout());
        }
    }
    squeezeIfSparse(groups);
    squeezeIfSparse(pathIndex);
    squeezeIfSparse(senderIndex);
    squeezeIfSparse(sessionIndex);
}

bool SrtlaEngine::removeSilentPaths(qint64 now)
{
    TurnLimit limit;
    // A copy shares the table's contents; it costs something only if a slot changes the table during the walk.
    const auto walked = groups;
    for (const QSharedPointer<SrtlaGroup> &group : walked) {
        QList<SrtlaEndpoint> expiredPaths;
        for (auto path = group->paths.cbegin(); path != group->paths.cend(); ++path) {
            if (isStale(path->lastActivityMs, now)) {
                expiredPaths.append(path.key());
            }
        }
        for (const SrtlaEndpoint &endpoint : std::as_const(expiredPaths)) {
            if (group->removed) {
                break; // by a slot; its links may have joined another group since
            }
            if (limit.isOver([this] { return nowMs(); })) {
                return false;
            }
            removePath(*group, endpoint);
            Q_EMIT logMessage(SrtlaTexts::pathTimedOut(endpoint.address, endpoint.port));
        }
    }
    return true;
}

void SrtlaEngine::publishStatistics()
{
    const qint64 now = nowMs();
    const qint64 elapsedMs = qMax<qint64>(now - lastPublishedMs, 1);
    const quint64 delta = receivedBytes - lastPublishedBytes;
    // Bits per byte and milliseconds per second above, the decimal mega below the line.
    const double megabitsPerSecond =
        static_cast<double>(delta) * 8.0 * 1000.0 / (static_cast<double>(elapsedMs) * 1000000.0);
    int paths = 0;
    for (const QSharedPointer<SrtlaGroup> &group : std::as_const(groups)) {
        paths += static_cast<int>(group->paths.size());
    }
    // Before the signal: a slot that starts anew sets them, too.
    lastPublishedBytes = receivedBytes;
    lastPublishedMs = now;
    Q_EMIT statisticsChanged(static_cast<int>(groups.size()), paths, megabitsPerSecond, receivedPackets, receivedBytes);
}
