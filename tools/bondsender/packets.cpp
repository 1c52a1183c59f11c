// SPDX-License-Identifier: GPL-2.0-or-later
#include "packets.h"

#include <algorithm>

namespace bondsender {
namespace {

constexpr std::uint16_t typeKeepalive = 0x9000;
constexpr std::uint16_t typeSrtlaAck = 0x9100;
constexpr std::uint16_t typeReg1 = 0x9200;
constexpr std::uint16_t typeReg2 = 0x9201;
constexpr std::uint16_t typeReg3 = 0x9202;
constexpr std::uint16_t typeRegErr = 0x9210;
constexpr std::uint16_t typeRegNgp = 0x9211;
constexpr std::uint16_t typeSrtAck = 0x8002;
constexpr std::uint16_t typeSrtNak = 0x8003;
// High nibble of SRTLA types; that of SRT control packets is 0x8.
constexpr std::uint16_t srtlaMask = 0xF000;
constexpr std::uint16_t srtlaFamily = 0x9000;

constexpr std::size_t typeSize = 2;
constexpr std::size_t wordSize = 4;
constexpr std::size_t registrationSize = typeSize + groupIdSize;
constexpr std::size_t keepaliveSize = typeSize + sizeof(std::uint64_t);
constexpr std::size_t srtlaAckHeaderSize = 4;
constexpr std::size_t srtlaAckNumbers = 10;
constexpr std::size_t srtlaAckSize = srtlaAckHeaderSize + srtlaAckNumbers * wordSize;
constexpr std::size_t srtHeaderSize = 16;

// In an SRT header this bit marks a control packet, in a loss report the first number of a range.
constexpr std::uint32_t topBit = 0x80000000;
constexpr std::uint32_t sequenceMask = 0x7FFFFFFF;
constexpr std::uint32_t halfSequenceCircle = 0x40000000;

std::uint16_t wordAt(ByteView bytes, std::size_t offset)
{
    return static_cast<std::uint16_t>(bytes[offset] << 8 | bytes[offset + 1]);
}

std::uint32_t longAt(ByteView bytes, std::size_t offset)
{
    return static_cast<std::uint32_t>(wordAt(bytes, offset)) << 16 | wordAt(bytes, offset + 2);
}

std::uint16_t typeOf(ByteView datagram)
{
    return datagram.size() < typeSize ? std::uint16_t{0} : wordAt(datagram, 0);
}

Bytes typeWord(std::uint16_t type)
{
    return {static_cast<std::uint8_t>(type >> 8), static_cast<std::uint8_t>(type & 0xFF)};
}

Bytes makeRegistration(std::uint16_t type, const GroupId &id)
{
    Bytes datagram = typeWord(type);
    datagram.insert(datagram.end(), id.begin(), id.end());
    return datagram;
}

} // namespace

Incoming classifyIncoming(ByteView datagram)
{
    const std::size_t size = datagram.size();
    const auto only = [size](std::size_t wanted, Incoming kind) { return size == wanted ? kind : Incoming::Malformed; };
    switch (typeOf(datagram)) {
    case typeKeepalive:
        return Incoming::Keepalive;
    case typeSrtlaAck:
        return only(srtlaAckSize, Incoming::SrtlaAck);
    case typeReg2:
        return only(registrationSize, Incoming::GroupCreated);
    case typeReg3:
        return only(typeSize, Incoming::LinkRegistered);
    case typeRegErr:
        return only(typeSize, Incoming::LinkRefused);
    case typeRegNgp:
        return only(typeSize, Incoming::GroupUnknown);
    default:
        break;
    }
    const bool srtlaType = (typeOf(datagram) & srtlaMask) == srtlaFamily;
    return srtlaType || size < srtHeaderSize ? Incoming::Malformed : Incoming::Srt;
}

Bytes makeReg1(const GroupId &proposal)
{
    return makeRegistration(typeReg1, proposal);
}

Bytes makeReg2(const GroupId &id)
{
    return makeRegistration(typeReg2, id);
}

Bytes makeKeepalive(std::uint64_t stamp)
{
    Bytes datagram = typeWord(typeKeepalive);
    for (int shift = 56; shift >= 0; shift -= 8) {
        datagram.push_back(static_cast<std::uint8_t>(stamp >> shift & 0xFF));
    }
    return datagram;
}

std::optional<GroupId> groupIdOf(ByteView datagram)
{
    if (classifyIncoming(datagram) != Incoming::GroupCreated) {
        return std::nullopt;
    }
    GroupId id;
    std::ranges::copy(datagram.subspan(typeSize), id.begin());
    return id;
}

std::optional<std::uint64_t> keepaliveStamp(ByteView datagram)
{
    if (typeOf(datagram) != typeKeepalive || datagram.size() != keepaliveSize) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(longAt(datagram, typeSize)) << 32 | longAt(datagram, typeSize + wordSize);
}

std::vector<std::uint32_t> srtlaAckedNumbers(ByteView datagram)
{
    std::vector<std::uint32_t> numbers;
    if (classifyIncoming(datagram) != Incoming::SrtlaAck) {
        return numbers;
    }
    for (std::size_t offset = srtlaAckHeaderSize; offset < srtlaAckSize; offset += wordSize) {
        numbers.push_back(longAt(datagram, offset));
    }
    return numbers;
}

std::optional<std::uint32_t> dataSequence(ByteView datagram)
{
    if (datagram.size() < srtHeaderSize || (longAt(datagram, 0) & topBit) != 0) {
        return std::nullopt;
    }
    return longAt(datagram, 0);
}

std::optional<std::uint32_t> srtAckedUpTo(ByteView datagram)
{
    if (typeOf(datagram) != typeSrtAck || datagram.size() < srtHeaderSize + wordSize) {
        return std::nullopt;
    }
    return longAt(datagram, srtHeaderSize) & sequenceMask;
}

std::vector<SequenceRange> srtLossReport(ByteView datagram)
{
    std::vector<SequenceRange> ranges;
    if (typeOf(datagram) != typeSrtNak) {
        return ranges;
    }
    for (std::size_t offset = srtHeaderSize; offset + wordSize <= datagram.size(); offset += wordSize) {
        const std::uint32_t word = longAt(datagram, offset);
        SequenceRange range{word & sequenceMask, word & sequenceMask};
        if ((word & topBit) != 0) {
            offset += wordSize;
            if (offset + wordSize > datagram.size()) {
                break;
            }
            range.last = longAt(datagram, offset) & sequenceMask;
        }
        ranges.push_back(range);
    }
    return ranges;
}

bool sequenceBefore(std::uint32_t a, std::uint32_t b)
{
    const std::uint32_t distance = (b - a) & sequenceMask;
    return distance != 0 && distance < halfSequenceCircle;
}

} // namespace bondsender
