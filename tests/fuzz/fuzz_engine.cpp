// SPDX-License-Identifier: GPL-2.0-or-later
// Sequences of datagrams from several endpoints and from the SRT listener, with a simulated clock.
#include "enginescenario.h"
#include "inputreader.h"

namespace {

constexpr int maximumEvents = 100;
constexpr std::size_t idBytes = 256;
constexpr std::size_t maximumRawBytes = 32;

/// Lengths around all limits.
constexpr std::array<std::size_t, 14> lengths{0, 1, 2, 10, 15, 16, 17, 44, 257, 258, 259, 1316, 1500, 1501};
/// Times around the time-out and the timer intervals.
constexpr std::array<int, 8> timeSteps{1, 1000, 2000, 4000, 7999, 8000, 8001, 16000};

/// A few bytes of the input, padded with zeros to one of the lengths.
std::string rawDatagram(InputReader &input)
{
    std::string datagram = input.bytes(input.byte() % maximumRawBytes);
    datagram.resize(lengths[input.byte() % lengths.size()]);
    return datagram;
}

std::string reg1(InputReader &input)
{
    constexpr int senders = 4;
    constexpr std::size_t senderHalf = 128;
    std::string datagram("\x92\0", 2);
    datagram.append(senderHalf - 1, '\x5a');
    // Senders differ in the last byte of their half and may differ in the first ignored byte.
    datagram += static_cast<char>(input.below(senders));
    datagram += static_cast<char>(input.byte());
    datagram.resize(2 + idBytes);
    return datagram;
}

std::string reg2(InputReader &input, const EngineScenario &scenario)
{
    std::string id = scenario.groupId(input.byte());
    const std::uint8_t corruption = input.byte();
    if (corruption >= 0xC0) { // most ids stay valid
        id[corruption % 2 == 0 ? idBytes - 1 : corruption % idBytes] ^= '\1';
    }
    return "\x92\x01" + id;
}

std::string srtPacket(InputReader &input, std::uint8_t firstByte)
{
    std::string datagram(1, static_cast<char>(firstByte));
    datagram += input.bytes(3);
    constexpr std::size_t header = 16;
    datagram.resize(header + input.byte());
    return datagram;
}

void sendData(int endpoint, InputReader &input, EngineScenario &scenario)
{
    const int count = 1 + input.below(12); // ten or more cause an SRTLA ACK at once
    std::string datagram = srtPacket(input, input.byte() & 0x7FU);
    std::vector<std::string> datagrams;
    for (int i = 0; i < count; ++i) {
        datagrams.push_back(datagram);
        datagram[3] = static_cast<char>(datagram[3] + 1);
    }
    scenario.sendDatagrams(endpoint, datagrams);
}

std::string keepalive(InputReader &input)
{
    constexpr std::size_t maximumAfterType = 9;
    return std::string("\x90\0", 2) + input.bytes(input.byte() % maximumAfterType);
}

void playEvent(InputReader &input, EngineScenario &scenario)
{
    constexpr int kinds = 12;
    constexpr std::uint8_t restart = 0xFF; // rare
    // One byte per statement, because the evaluation order of arguments is unspecified.
    const int kind = input.below(kinds);
    const std::uint8_t choice = input.byte();
    const int endpoint = choice % endpointCount;
    switch (kind) {
    case 0:
        scenario.sendDatagram(endpoint, reg1(input));
        break;
    case 1:
    case 2:
        scenario.sendDatagram(endpoint, reg2(input, scenario));
        break;
    case 3:
    case 4:
        sendData(endpoint, input, scenario);
        break;
    case 5:
        scenario.sendDatagram(endpoint, srtPacket(input, input.byte() | 0x80U));
        break;
    case 6:
        scenario.sendDatagram(endpoint, rawDatagram(input));
        break;
    case 7:
        scenario.sendReply(choice, rawDatagram(input));
        break;
    case 8:
        scenario.advance(timeSteps[choice % timeSteps.size()]);
        break;
    case 9:
        scenario.cleanup();
        break;
    case 10:
        scenario.publishStatistics();
        break;
    default:
        if (choice == restart) {
            scenario.restart();
        } else {
            scenario.sendDatagram(endpoint, keepalive(input));
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    prepareScenarios();
    InputReader input(data, size);
    EngineScenario scenario;
    for (int i = 0; i < maximumEvents && !input.atEnd(); ++i) {
        playEvent(input, scenario);
    }
    return 0;
}
