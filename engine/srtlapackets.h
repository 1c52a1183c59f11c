// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <array>
#include <span>

// Formats of the datagrams between SRTLA senders, this receiver and the SRT listener, as pure functions over bytes. All
// multi-byte fields are big-endian.

/// Type words: the first two bytes of a datagram.
inline constexpr quint16 SRTLA_TYPE_KEEPALIVE = 0x9000;
inline constexpr quint16 SRTLA_TYPE_ACK = 0x9100;
inline constexpr quint16 SRTLA_TYPE_REG1 = 0x9200;
inline constexpr quint16 SRTLA_TYPE_REG2 = 0x9201;
inline constexpr quint16 SRTLA_TYPE_REG3 = 0x9202;
inline constexpr quint16 SRTLA_TYPE_REG_ERR = 0x9210;
inline constexpr quint16 SRTLA_TYPE_REG_NGP = 0x9211;
/// The control flag with control type 2 (draft-sharabayko-srt, "Control Packets").
inline constexpr quint16 SRT_TYPE_ACK = 0x8002;

inline constexpr qsizetype typeWordBytes = 2;
inline constexpr qsizetype groupIdBytes = 256;
/// The group id's leading half is the sender's, the rest the receiver's.
inline constexpr qsizetype senderIdBytes = 128;
/// REG1 and REG2: the type word and a group id.
inline constexpr qsizetype registrationBytes = typeWordBytes + groupIdBytes;
/// Size of the header of every SRT packet; a shorter datagram is no SRT packet.
inline constexpr qsizetype srtHeaderBytes = 16;
/// The largest datagram accepted from a sender: the payload of an Ethernet frame.
inline constexpr qsizetype maxSenderDatagramBytes = 1500;
/// An SRTLA ACK always carries exactly this many sequence numbers.
inline constexpr qsizetype sequencesPerAck = 10;
/// Type word, two zero bytes, the sequence numbers.
inline constexpr qsizetype ackBytes = 4 + sequencesPerAck * 4;

/// Kind of a sender's datagram. All but the registrations are dropped unless they come from a registered link.
enum class SenderDatagram {
    Unusable,   ///< empty or longer than maxSenderDatagramBytes
    Reg1,       ///< opens a session; exactly registrationBytes long
    Reg2,       ///< registers a link; exactly registrationBytes long
    Keepalive,  ///< sent back to the link unchanged; any length
    TooShort,   ///< shorter than an SRT header
    SrtData,    ///< carries a sequence number to acknowledge
    SrtControl, ///< any other datagram of sufficient length, including unknown SRTLA types
};

/// The first two bytes of \a datagram as a number; 0 when it is shorter than 2 bytes.
[[nodiscard]] quint16 typeWord(QByteArrayView datagram) noexcept;

/// The first four bytes of \a datagram as a number; 0 when it is shorter than 4 bytes.
[[nodiscard]] quint32 firstWord(QByteArrayView datagram) noexcept;

/// Classifies a sender's datagram by its size and first word.
[[nodiscard]] SenderDatagram classifySenderDatagram(QByteArrayView datagram) noexcept;

/// Whether \a datagram, from the SRT listener, is an SRT ACK: decided by the type word alone, for any length.
[[nodiscard]] bool isSrtAck(QByteArrayView datagram) noexcept;

/// The 31-bit packet sequence number of an SRT data packet (at least 4 bytes).
[[nodiscard]] quint32 sequenceNumber(QByteArrayView dataPacket) noexcept;

/// The sender's 128 bytes of a REG1 of registrationBytes; its other 128 id bytes are ignored.
[[nodiscard]] QByteArray senderIdOfReg1(QByteArrayView reg1);

/// The 256-byte group id of a REG2 of registrationBytes.
[[nodiscard]] QByteArray groupIdOfReg2(QByteArrayView reg2);

/// A REG2 that carries \a groupId (256 bytes): 258 bytes.
[[nodiscard]] QByteArray makeReg2(QByteArrayView groupId);

/// A datagram that consists of the type word (REG3, REG_ERR, REG_NGP): 2 bytes.
[[nodiscard]] QByteArray makeTypeOnly(quint16 type);

/// An SRTLA ACK of ten sequence numbers in the given order: 44 bytes.
[[nodiscard]] std::array<char, ackBytes> makeAck(std::span<const quint32, sequencesPerAck> sequences) noexcept;

/// A group's name in log texts: the first 6 id bytes as 12 lower-case hexadecimal digits.
[[nodiscard]] QString shortGroupId(QByteArrayView groupId);
