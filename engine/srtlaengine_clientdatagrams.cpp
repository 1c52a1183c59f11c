// SPDX-License-Identifier: GPL-2.0-or-later
// What arrives from senders: registrations, keepalives and the SRT packets of registered links.
#include "srtlaengine.h"

#include "srtlagroup.h"
#include "srtlapackets.h"
#include "srtlatexts.h"
#include "turnlimit.h"

void SrtlaEngine::readClientDatagrams()
{
    QByteArray buffer = spareBuffer.take();
    char *const bytes = buffer.data();
    const bool readsOn = arrivalRhythm.beginTurn();
    TurnLimit limit;
    const auto isTimeOver = [this, &limit] { return limit.isOver([this] { return nowMs(); }); };
    int taken = 0;
    bool foundNoMore = false;
    // The read that finds nothing makes the socket emit errorOccurred, which has no handler here. What stands behind an
    // error is left to the next readyRead: reading turns the signal on again.
    SrtlaEndpoint sender;
    while (isRunning() && !foundNoMore && (taken == 0 || readsOn) && !isTimeOver()) {
        const qint64 size = clientSocket.readDatagram(bytes, maxUdpPayloadBytes, &sender.address, &sender.port);
        if (size < 0) {
            foundNoMore = true;
            break;
        }
        ++taken;
        ++receivedPackets;
        receivedBytes += static_cast<quint64>(size);
        handleDatagram(QByteArray::fromRawData(bytes, size), sender);
        if (taken == 1 && readsOn && isRunning()) {
            // Behind the first datagram there usually is none, and asking costs less than a read that fails: that makes
            // Qt look up the translation of an error text. Behind the second there usually are more.
            foundNoMore = !clientSocket.hasPendingDatagrams();
        }
    }
    arrivalRhythm.endTurn(taken, foundNoMore);
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
        return; // a slot that heard of a removal stopped the engine
    }

    const QSharedPointer<SrtlaGroup> group = openGroup(senderId, sender);
    sendToSender(makeReg2(group->id), sender);
    Q_EMIT logMessage(SrtlaTexts::newGroup(group->id, sender.address, sender.port));
}

void SrtlaEngine::handleReg2(const QByteArray &datagram, const SrtlaEndpoint &sender)
{
    // The local reference keeps the group while slots hear of the new link.
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
    group->replyAddress = path.address; // the path's copy stays the same object from packet to packet
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
    // Last, because slots run in it: neither the path nor, without its counted reference, the group need outlive it.
    forwardToSrt(group, datagram);
}

void SrtlaEngine::sendToSender(const QByteArray &datagram, const SrtlaEndpoint &endpoint)
{
    // A closed socket would open itself on a random port to send; that can come up when a slot stopped the engine.
    if (isRunning()) {
        clientSocket.writeDatagram(datagram, endpoint.address, endpoint.port);
    }
}
