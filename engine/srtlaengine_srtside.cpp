// SPDX-License-Identifier: GPL-2.0-or-later
// Traffic between a group and the SRT listener, in both directions.
#include "srtlaengine.h"

#include "srtlagroup.h"
#include "srtlapackets.h"
#include "srtlatexts.h"
#include "turnlimit.h"
#include "udpport.h"

#include <QNetworkProxy>

#include <utility>

namespace {

/// Interval of reads without readyRead where that signal may be lost; far below the time-outs of SRT.
constexpr qint64 replyPollIntervalMs = 20;

} // namespace

SrtlaEngine::SrtSocket::SrtSocket() = default;
SrtlaEngine::SrtSocket::~SrtSocket() = default;

void SrtlaEngine::ensureSrtSocket(SrtlaGroup &group)
{
    if (group.srtSocket) {
        return;
    }
    if (!socketReserve.take(nowMs())) {
        if (!std::exchange(group.lackedSocket, true)) {
            Q_EMIT logMessage(SrtlaTexts::srtSocketError(group.id, SrtlaTexts::noSocketLeft()));
        }
        return;
    }
    group.srtSocket = std::make_unique<SrtSocket>();
    SrtSocket *const socket = group.srtSocket.get();
    socket->groupId = group.id;
    socket->setProxy(QNetworkProxy::NoProxy);
    // The handlers hold the id, not the group, which may have been removed by then.
    connect(socket, &QIODevice::readyRead, this, [this, groupId = group.id] { readSrtDatagrams(groupId); });
    connect(socket, &QAbstractSocket::errorOccurred, this,
            [this, groupId = group.id] { reportSrtSocketError(groupId); });
    socket->connectToHost(targetAddress, targetPort, QIODevice::ReadWrite);
    enlargeReceiveBuffer(*socket);
    Q_EMIT logMessage(SrtlaTexts::srtSocketCreated(group.id, targetAddress, targetPort));
}

void SrtlaEngine::forwardToSrt(const QSharedPointer<SrtlaGroup> &group, const QByteArray &datagram)
{
    ensureSrtSocket(*group);
    // The socket is closed when a slot connected to logMessage stopped the engine.
    if (group->srtSocket && group->srtSocket->isOpen()) {
        group->srtSocket->write(datagram);
        if (!readyReadSurvivesIcmpError() && nowMs() - group->srtSocket->lastReadMs >= replyPollIntervalMs) {
            readSrtDatagrams(group->id);
        }
    }
}

void SrtlaEngine::readSrtDatagrams(const QByteArray &groupId)
{
    // The reference keeps the emitting socket alive if a slot removes the group.
    QSharedPointer<SrtlaGroup> group = findGroup(groupId);
    if (!group || !group->srtSocket) {
        return;
    }
    group->srtSocket->lastReadMs = nowMs();
    QByteArray buffer = spareBuffer.take();
    TurnLimit limit;
    drainDatagrams(
        *group->srtSocket, buffer.data(), [this, &limit] { return limit.isOver([this] { return nowMs(); }); },
        [this, &group](const QByteArray &datagram) { routeSrtReply(*group, datagram); });
    spareBuffer.giveBack(std::move(buffer));
    releaseAfterHandler(std::move(group));
}

void SrtlaEngine::reportSrtSocketError(const QByteArray &groupId)
{
    QSharedPointer<SrtlaGroup> group = findGroup(groupId);
    if (!group || !group->srtSocket) {
        return;
    }
    Q_EMIT logMessage(SrtlaTexts::srtSocketError(groupId, group->srtSocket->errorString()));
    releaseAfterHandler(std::move(group));
}

void SrtlaEngine::routeSrtReply(SrtlaGroup &group, const QByteArray &datagram)
{
    if (group.paths.isEmpty()) {
        return;
    }
    if (isSrtAck(datagram)) {
        for (auto path = group.paths.keyBegin(); path != group.paths.keyEnd(); ++path) {
            sendToSender(datagram, *path);
        }
        return;
    }
    if (group.hasReplyEndpoint) {
        sendToSender(datagram, {group.replyAddress, group.replyPort});
    }
}

void SrtlaEngine::releaseAfterHandler(QSharedPointer<SrtlaGroup> group)
{
    if (!group->removed) {
        return; // the table still holds it
    }
    // A socket must not be destroyed inside its own signal: the last reference is released in the event loop.
    QMetaObject::invokeMethod(this, [group = std::move(group)] {}, Qt::QueuedConnection);
}
