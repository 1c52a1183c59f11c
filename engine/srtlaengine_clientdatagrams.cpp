// SPDX-License-Identifier: GPL-2.0-or-later
// Datagrams from senders: registrations, keepalives and the SRT packets of registered links.
#include "srtlaengine.h"

#include "srtlagroup.h"
#include "srtlapackets.h"
#include "srtlatexts.h"
#include "turnlimit.h"

void SrtlaEngine::readClientDatagrams()
{
    QByteArray buffer = spareBuffer.take();
    char *const bytes = buffer.data();
    const bool readsUntilEmpty = readAhead.beginPass();
    TurnLimit limit;
    const auto isTimeOver = [this, &limit] { return limit.isOver([this] { return nowMs(); }); };
    int taken = 0;
    bool isEmpty = false;
    // A read from an empty socket emits errorOccurred, which has no handler here. Datagrams behind an ICMP error are
    // read at the next readyRead: the failed read makes Qt emit the signal again.
    SrtlaEndpoint sender;
    while (isRunning() && !isEmpty && (taken == 0 || readsUntilEmpty) && !isTimeOver()) {
        const qint64 size = clientSocket.readDatagram(bytes, maxUdpPayloadBytes, &sender.address, &sender.port);
        if (size < 0) {
            isEmpty = true;
            break;
        }
        ++taken;
        ++receivedPackets;
        receivedBytes += static_cast<quint64>(size);
        handleDatagram(QByteArray::fromRawData(bytes, size), sender);
        if (taken == 1 && readsUntilEmpty && isRunning()) {
            // A single datagram is the usual case. hasPendingDatagrams() costs less than a failed read, for which Qt
            // translates an error text. After a second datagram there are usually more.
            isEmpty = !clientSocket.hasPendingDatagrams();
        }
    }
    readAhead.endPass(taken, isEmpty);
    spareBuffer.giveBack(std::move(buffer));
}

void SrtlaEngine::handleDatagram(const QByteArray &datagram, const SrtlaEndpoint &sender)
{
    const SenderDatagram kind = classifySenderDatagram(datagram);
    if (kind == SenderDatagram::Unusable) {
        return;
    }
    if (kind == SenderDatagram::Reg1) {
        handleReg1(datagram, sender);
        return;
    }
    if (kind == SenderDatagram::Reg2) {
        handleReg2(datagram, sender);
        return;
    }
    const QSharedPointer<SrtlaGroup> group = groupForPath(sender);
    if (!group) {
        return;
    }
    const auto path = group->paths.find(sender);
    if (path != group->paths.end()) {
        handlePathPacket(group, *path, kind, datagram, sender);
    }
}

void SrtlaEngine::handleReg1(const QByteArray &datagram, const SrtlaEndpoint &sender)
{
    const QByteArray senderId = senderIdOfReg1(datagram);
    const QList<QByteArray> earlierSessions = sessionIndex.values(senderId);
    for (const QByteArray &groupId : earlierSessions) {
        removeGroup(groupId, SrtlaTexts::reasonNewSession());
    }
    const auto registered = senderIndex.constFind(sender);
    if (registered != senderIndex.constEnd()) {
        removeGroup(*registered, SrtlaTexts::reasonReRegistration());
    }
    if (!isRunning()) {
        return; // stopped by a slot connected to logMessage
    }

    const QSharedPointer<SrtlaGroup> group = openGroup(senderId, sender);
    sendToSender(makeReg2(group->id), sender);
    Q_EMIT logMessage(SrtlaTexts::newGroup(group->id, sender.address, sender.port));
}

void SrtlaEngine::handleReg2(const QByteArray &datagram, const SrtlaEndpoint &sender)
{
    // The local reference keeps the group alive while logMessage is emitted.
    const QSharedPointer<SrtlaGroup> group = findGroup(groupIdOfReg2(datagram));
    if (!group) {
        sendToSender(makeTypeOnly(SRTLA_TYPE_REG_NGP), sender);
        return;
    }
    const auto indexed = pathIndex.constFind(sender);
    if (indexed != pathIndex.constEnd() && *indexed != group->id) {
        sendToSender(makeTypeOnly(SRTLA_TYPE_REG_ERR), sender);
        return;
    }
    if (!group->paths.contains(sender)) {
        addPath(*group, sender);
        Q_EMIT logMessage(SrtlaTexts::pathConnected(sender.address, sender.port, group->id));
    }
    group->lastActivityMs = nowMs();
    group->replyAddress = sender.address;
    group->replyPort = sender.port;
    sendToSender(makeTypeOnly(SRTLA_TYPE_REG3), sender);
}

void SrtlaEngine::handlePathPacket(const QSharedPointer<SrtlaGroup> &group, SrtlaPath &path, SenderDatagram kind,
                                   const QByteArray &datagram, const SrtlaEndpoint &sender)
{
    path.lastActivityMs = nowMs();
    ++path.packets;
    path.bytes += static_cast<quint64>(datagram.size());
    group->lastActivityMs = path.lastActivityMs;

    if (kind == SenderDatagram::Keepalive) {
        sendToSender(datagram, sender);
        return;
    }
    if (kind == SenderDatagram::TooShort) {
        return;
    }
    group->replyAddress = path.address; // shared with the path's copy: the assignment is cheap
    group->replyPort = path.port;
    group->hasReplyEndpoint = true;

    if (kind == SenderDatagram::SrtData) {
        path.pendingAcks.append(sequenceNumber(datagram));
        while (path.pendingAcks.size() >= sequencesPerAck) {
            const auto ack =
                makeAck(std::span<const quint32, sequencesPerAck>(path.pendingAcks.constData(), sequencesPerAck));
            path.pendingAcks.remove(0, sequencesPerAck);
            sendToSender(QByteArray::fromRawData(ack.data(), ack.size()), sender);
        }
    }
    // Last, because it emits signals: a slot may remove the path and the group.
    forwardToSrt(group, datagram);
}

void SrtlaEngine::sendToSender(const QByteArray &datagram, const SrtlaEndpoint &endpoint)
{
    // A closed socket would bind itself to a random port to send. A slot may have stopped the engine.
    if (isRunning()) {
        clientSocket.writeDatagram(datagram, endpoint.address, endpoint.port);
    }
}
