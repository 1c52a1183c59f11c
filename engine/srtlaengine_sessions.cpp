// SPDX-License-Identifier: GPL-2.0-or-later
// Groups and links, time-outs and statistics. No other file changes the table of groups and its indexes.
#include "srtlaengine.h"

#include "srtlagroup.h"
#include "srtlapackets.h"
#include "srtlatexts.h"
#include "turnlimit.h"

#include <QRandomGenerator>

#include <array>

namespace {

/// A link, or a group without links, that is silent for longer than this is removed.
constexpr qint64 idleTimeoutMs = 8000;

bool isStale(qint64 lastActivityMs, qint64 now)
{
    return now - lastActivityMs > idleTimeoutMs;
}

/// Releases the unused capacity of a table after a flood of registrations: QHash does not shrink by itself.
template<typename Table> void squeezeIfSparse(Table &table)
{
    constexpr qsizetype keptCapacity = 1024;
    constexpr qsizetype sparseRatio = 8; // of capacity to size
    if (table.capacity() > keptCapacity && table.capacity() / sparseRatio > table.size()) {
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
    reserveGroup();
    senderIndex.insert(sender, group->id);
    sessionIndex.insert(senderId, group->id);
    groups.insert(group->id, group);
    return group;
}

void SrtlaEngine::reserveGroup()
{
    // A full table doubles its capacity and moves every entry. All tables have the same number of entries and would
    // double at the same registration; with different reserves each table doubles at a different one.
    const qsizetype count = groups.size() + 1;
    senderIndex.reserve(count * 5 / 4);
    sessionIndex.reserve(count * 3 / 2);
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
    // One call for all draws, because the global generator takes a lock; the lowest byte of each 32-bit draw is used.
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
    // The index shares the data of the groups' ids (implicit sharing), so comparing the pointers avoids hashing 256
    // bytes.
    if (!recentGroup || recentGroup->id.constData() != indexed->constData()) {
        recentGroup = findGroup(*indexed);
    }
    return recentGroup;
}

void SrtlaEngine::removeGroup(const QByteArray &groupId, const QString &reason)
{
    // The reference keeps the group alive while logMessage is emitted, and the id that \a groupId may refer to.
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
        // The remaining links are removed in the next event loop iteration: each removal emits a signal, and a flood
        // leaves thousands of links.
        QMetaObject::invokeMethod(this, &SrtlaEngine::cleanupSessions, Qt::QueuedConnection);
        return;
    }
    if (!expiredGroups.isEmpty()) {
        return; // those of the previous tick are still being removed
    }
    const qint64 now = nowMs(); // read again: a slot may have started a new session, whose clock begins at 0
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
        // A link may have joined the group since it was listed.
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
    // A shallow copy; it detaches only if a slot changes the table during the loop.
    const auto snapshot = groups;
    for (const QSharedPointer<SrtlaGroup> &group : snapshot) {
        QList<SrtlaEndpoint> expiredPaths;
        for (auto path = group->paths.cbegin(); path != group->paths.cend(); ++path) {
            if (isStale(path->lastActivityMs, now)) {
                expiredPaths.append(path.key());
            }
        }
        for (const SrtlaEndpoint &endpoint : std::as_const(expiredPaths)) {
            if (group->removed) {
                break; // by a slot; its links may belong to another group now
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
    // 8 bits per byte, 1000 ms per second, 10^6 bits per megabit.
    const double megabitsPerSecond =
        static_cast<double>(delta) * 8.0 * 1000.0 / (static_cast<double>(elapsedMs) * 1000000.0);
    int paths = 0;
    for (const QSharedPointer<SrtlaGroup> &group : std::as_const(groups)) {
        paths += static_cast<int>(group->paths.size());
    }
    // Before the signal, because a slot that calls start resets these.
    lastPublishedBytes = receivedBytes;
    lastPublishedMs = now;
    Q_EMIT statisticsChanged(static_cast<int>(groups.size()), paths, megabitsPerSecond, receivedPackets, receivedBytes);
}
