// SPDX-License-Identifier: GPL-2.0-or-later
// The end of links and groups, and the statistics about those that live.
#include "srtlaengine.h"

#include "srtlagroup.h"
#include "srtlatexts.h"

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

void SrtlaEngine::removeGroup(const QByteArray &groupId, const QString &reason)
{
    // The reference keeps the group while slots hear of its end, and its id when the caller's lies in a table.
    const QSharedPointer<SrtlaGroup> group = groups.value(groupId);
    // A group stays in the table until its end is told; a slot that then stops the engine asks for it once more.
    if (!group || sessionIndex.remove(group->senderId, group->id) == 0) {
        return;
    }
    senderIndex.remove({group->registeredAddress, group->registeredPort});
    for (auto path = group->paths.keyBegin(); path != group->paths.keyEnd(); ++path) {
        pathIndex.remove(*path);
    }
    if (group->srtSocket) {
        group->srtSocket->disconnectFromHost();
        group->srtSocket->close();
    }
    Q_EMIT logMessage(SrtlaTexts::groupRemoved(group->id, reason));
    groups.remove(group->id);
    recentGroup.reset();
}

void SrtlaEngine::cleanupSessions()
{
    const qint64 now = nowMs();
    QList<QByteArray> expiredGroups;
    {
        // A copy shares the table's contents; it costs something only if a slot changes the table during the walk.
        const auto walked = groups;
        for (const QSharedPointer<SrtlaGroup> &group : walked) {
            if (!groups.contains(group->id)) {
                continue;
            }
            removeSilentPaths(*group, now);
            if (group->paths.isEmpty() && isStale(group->lastActivityMs, now)) {
                expiredGroups.append(group->id);
            }
        }
    }
    for (const QByteArray &groupId : std::as_const(expiredGroups)) {
        removeGroup(groupId, SrtlaTexts::reasonTimeout());
    }
    squeezeIfSparse(groups);
    squeezeIfSparse(pathIndex);
    squeezeIfSparse(senderIndex);
    squeezeIfSparse(sessionIndex);
}

void SrtlaEngine::removeSilentPaths(SrtlaGroup &group, qint64 now)
{
    QList<SrtlaEndpoint> expiredPaths;
    for (auto path = group.paths.cbegin(); path != group.paths.cend(); ++path) {
        if (isStale(path->lastActivityMs, now)) {
            expiredPaths.append(path.key());
        }
    }
    for (const SrtlaEndpoint &endpoint : std::as_const(expiredPaths)) {
        group.paths.remove(endpoint);
        pathIndex.remove(endpoint);
        Q_EMIT logMessage(SrtlaTexts::pathTimedOut(endpoint.address, endpoint.port));
    }
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
