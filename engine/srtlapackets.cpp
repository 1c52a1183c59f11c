// SPDX-License-Identifier: GPL-2.0-or-later
#include "srtlapackets.h"

#include <QtEndian>

namespace {

constexpr quint32 srtControlFlag = 0x80000000U;
constexpr qsizetype firstWordBytes = 4;
constexpr qsizetype sequenceBytes = 4;
/// Enough to distinguish sessions in a log. These bytes belong to the sender's half of the id.
constexpr qsizetype shownIdBytes = 6;

} // namespace

quint16 typeWord(QByteArrayView datagram) noexcept
{
    return datagram.size() < typeWordBytes ? quint16{0} : qFromBigEndian<quint16>(datagram.data());
}

quint32 firstWord(QByteArrayView datagram) noexcept
{
    return datagram.size() < firstWordBytes ? 0U : qFromBigEndian<quint32>(datagram.data());
}

SenderDatagram classifySenderDatagram(QByteArrayView datagram) noexcept
{
    if (datagram.isEmpty() || datagram.size() > maxSenderDatagramBytes) {
        return SenderDatagram::Unusable;
    }
    const quint16 type = typeWord(datagram);
    if (datagram.size() == registrationBytes) {
        if (type == SRTLA_TYPE_REG1) {
            return SenderDatagram::Reg1;
        }
        if (type == SRTLA_TYPE_REG2) {
            return SenderDatagram::Reg2;
        }
    }
    if (type == SRTLA_TYPE_KEEPALIVE) {
        return SenderDatagram::Keepalive;
    }
    if (datagram.size() < srtHeaderBytes) {
        return SenderDatagram::TooShort;
    }
    return (firstWord(datagram) & srtControlFlag) == 0 ? SenderDatagram::SrtData : SenderDatagram::SrtControl;
}

bool isSrtAck(QByteArrayView datagram) noexcept
{
    return typeWord(datagram) == SRT_TYPE_ACK;
}

quint32 sequenceNumber(QByteArrayView dataPacket) noexcept
{
    return firstWord(dataPacket) & ~srtControlFlag;
}

QByteArray senderIdOfReg1(QByteArrayView reg1)
{
    return reg1.sliced(typeWordBytes, senderIdBytes).toByteArray();
}

QByteArray groupIdOfReg2(QByteArrayView reg2)
{
    return reg2.sliced(typeWordBytes, groupIdBytes).toByteArray();
}

QByteArray makeReg2(QByteArrayView groupId)
{
    return makeTypeOnly(SRTLA_TYPE_REG2).append(groupId);
}

QByteArray makeTypeOnly(quint16 type)
{
    QByteArray datagram(typeWordBytes, Qt::Uninitialized);
    qToBigEndian(type, datagram.data());
    return datagram;
}

std::array<char, ackBytes> makeAck(std::span<const quint32, sequencesPerAck> sequences) noexcept
{
    std::array<char, ackBytes> datagram{};
    qToBigEndian(SRTLA_TYPE_ACK, datagram.data());
    char *out = datagram.data() + (ackBytes - sequencesPerAck * sequenceBytes);
    for (const quint32 sequence : sequences) {
        qToBigEndian(sequence, out);
        out += sequenceBytes;
    }
    return datagram;
}

QString shortGroupId(QByteArrayView groupId)
{
    return QString::fromLatin1(groupId.first(qMin(shownIdBytes, groupId.size())).toByteArray().toHex());
}
