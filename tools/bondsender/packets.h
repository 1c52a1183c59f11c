// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

/// The datagrams of SRTLA as a sender sees them, and the few fields of SRT packets that a sender looks at. Pure
/// functions; every multi-byte field is big-endian. Deliberately shares nothing with the receiver's packet code, so
/// that a mistake in one cannot hide behind the same mistake in the other.
namespace bondsender {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

inline constexpr std::size_t senderHalfSize = 128;
inline constexpr std::size_t groupIdSize = 256;
using GroupId = std::array<std::uint8_t, groupIdSize>;

/// What a datagram from the receiver is.
enum class Incoming {
    Keepalive,
    SrtlaAck,
    GroupCreated,   ///< REG2: carries the id of the group that our REG1 made
    LinkRegistered, ///< REG3
    LinkRefused,    ///< REG_ERR: this endpoint belongs to another group
    GroupUnknown,   ///< REG_NGP: the receiver knows no such group
    Srt,            ///< the SRT listener's, for the caller
    Malformed,
};

/// Tells what \a datagram is, by its type word and the length that goes with it.
[[nodiscard]] Incoming classifyIncoming(ByteView datagram);

/// REG1 (258 bytes): asks for a group, proposing \a proposal.
[[nodiscard]] Bytes makeReg1(const GroupId &proposal);
/// REG2 (258 bytes): registers the link that it is sent on into the group \a id.
[[nodiscard]] Bytes makeReg2(const GroupId &id);
/// A keepalive (10 bytes) that carries \a stamp, which the receiver sends back as it is.
[[nodiscard]] Bytes makeKeepalive(std::uint64_t stamp);

/// The id in a REG2 from the receiver; nothing if \a datagram is none.
[[nodiscard]] std::optional<GroupId> groupIdOf(ByteView datagram);
/// The stamp in a keepalive that makeKeepalive made; nothing if \a datagram is none.
[[nodiscard]] std::optional<std::uint64_t> keepaliveStamp(ByteView datagram);
/// The ten sequence numbers of an SRTLA ACK (44 bytes); none if \a datagram is no such ACK.
[[nodiscard]] std::vector<std::uint32_t> srtlaAckedNumbers(ByteView datagram);

/// The 31-bit sequence number of an SRT data packet; nothing for control packets and for less than an SRT header.
[[nodiscard]] std::optional<std::uint32_t> dataSequence(ByteView datagram);
/// From an SRT ACK: the first sequence number that the listener still lacks; nothing for other packets. The light form
/// of the ACK has it in the same place (SRT draft, 3.2.4).
[[nodiscard]] std::optional<std::uint32_t> srtAckedUpTo(ByteView datagram);

/// Sequence numbers from \a first to \a last, both included.
struct SequenceRange
{
    std::uint32_t first = 0;
    std::uint32_t last = 0;
    bool operator==(const SequenceRange &) const = default;
};
/// From an SRT NAK: what the listener reports as lost (SRT draft, 3.2.5 and appendix A); none for other packets.
[[nodiscard]] std::vector<SequenceRange> srtLossReport(ByteView datagram);

/// Whether \a a comes before \a b on the circle of 31-bit sequence numbers.
[[nodiscard]] bool sequenceBefore(std::uint32_t a, std::uint32_t b);

} // namespace bondsender
