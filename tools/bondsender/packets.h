// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

/// SRTLA datagrams of a sender, and the fields of SRT packets that a sender needs. Pure functions; all multi-byte
/// fields are big-endian. Independent of the receiver's packet code, so that errors are not compensated.
namespace bondsender {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

inline constexpr std::size_t senderHalfSize = 128;
inline constexpr std::size_t groupIdSize = 256;
using GroupId = std::array<std::uint8_t, groupIdSize>;

/// Kind of a datagram from the receiver.
enum class Incoming {
    Keepalive,
    SrtlaAck,
    GroupCreated,   ///< REG2 with the id of the new group
    LinkRegistered, ///< REG3
    LinkRefused,    ///< REG_ERR: the endpoint belongs to another group
    GroupUnknown,   ///< REG_NGP: no such group
    Srt,            ///< from the SRT listener, for the caller
    Malformed,
};

/// Classifies \a datagram by its type word and length.
[[nodiscard]] Incoming classifyIncoming(ByteView datagram);

/// REG1 (258 bytes): requests a group with the id \a proposal.
[[nodiscard]] Bytes makeReg1(const GroupId &proposal);
/// REG2 (258 bytes): registers the sending link in the group \a id.
[[nodiscard]] Bytes makeReg2(const GroupId &id);
/// A keepalive (10 bytes) with \a stamp, which the receiver echoes.
[[nodiscard]] Bytes makeKeepalive(std::uint64_t stamp);

/// The id in a REG2 from the receiver; empty for other datagrams.
[[nodiscard]] std::optional<GroupId> groupIdOf(ByteView datagram);
/// The stamp in a keepalive of makeKeepalive; empty for other datagrams.
[[nodiscard]] std::optional<std::uint64_t> keepaliveStamp(ByteView datagram);
/// The ten sequence numbers of an SRTLA ACK (44 bytes); empty for other datagrams.
[[nodiscard]] std::vector<std::uint32_t> srtlaAckedNumbers(ByteView datagram);

/// The 31-bit sequence number of an SRT data packet; empty for control packets and for less than an SRT header.
[[nodiscard]] std::optional<std::uint32_t> dataSequence(ByteView datagram);
/// The next expected sequence number of an SRT ACK; empty for other packets. The light ACK has the same field (SRT
/// draft, 3.2.4).
[[nodiscard]] std::optional<std::uint32_t> srtAckedUpTo(ByteView datagram);

/// Sequence numbers from \a first to \a last, inclusive.
struct SequenceRange
{
    std::uint32_t first = 0;
    std::uint32_t last = 0;
    bool operator==(const SequenceRange &) const = default;
};
/// The loss list of an SRT NAK (SRT draft, 3.2.5 and appendix A); empty for other packets.
[[nodiscard]] std::vector<SequenceRange> srtLossReport(ByteView datagram);

/// Whether \a a is before \a b, modulo 2^31.
[[nodiscard]] bool sequenceBefore(std::uint32_t a, std::uint32_t b);

} // namespace bondsender
