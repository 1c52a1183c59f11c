// SPDX-License-Identifier: GPL-2.0-or-later
// Arbitrary datagrams from the SRT listener to a group of three links and to one of a single link.
#include "enginescenario.h"
#include "inputreader.h"

namespace {

constexpr int maximumEvents = 100;
constexpr int linksOfFirstGroup = 3;

std::string reg1(char sender)
{
    constexpr std::size_t idBytes = 256;
    return std::string("\x92\0", 2) + std::string(idBytes, sender);
}

void registerGroups(EngineScenario &scenario)
{
    const std::string handshake = "\x80" + std::string(63, '\0');
    scenario.sendDatagram(0, reg1('a'));
    for (int link = 0; link < linksOfFirstGroup; ++link) {
        scenario.sendDatagram(link, "\x92\x01" + scenario.groupId(0));
    }
    scenario.sendDatagram(0, handshake);
    scenario.sendDatagram(linksOfFirstGroup, reg1('b'));
    scenario.sendDatagram(linksOfFirstGroup, "\x92\x01" + scenario.groupId(1));
    scenario.sendDatagram(linksOfFirstGroup, handshake);
}

/// Large ones as well: replies are limited only by UDP.
std::string replyOf(InputReader &input)
{
    constexpr std::size_t unit = 257;
    const std::size_t given = input.byte() % 64U;
    const std::uint8_t padding = input.byte();
    std::string datagram = input.bytes(given);
    if (padding >= 0xC0) {
        datagram.resize(datagram.size() + (padding - 0xBFU) * unit);
    }
    return datagram;
}

void playEvent(InputReader &input, EngineScenario &scenario)
{
    constexpr int kinds = 8;
    const int kind = input.below(kinds);
    if (kind == 0) { // changes the reply endpoint
        scenario.sendDatagram(input.below(linksOfFirstGroup), std::string(16, '\1'));
    } else if (kind == 1) {
        scenario.advance(input.byte() * 100);
        scenario.cleanup();
    } else if (kind == 2) {
        scenario.sendDatagram(input.below(linksOfFirstGroup), std::string("\x90\0", 2));
    } else {
        const std::uint8_t group = input.byte();
        scenario.sendReply(group, replyOf(input));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    prepareScenarios();
    InputReader input(data, size);
    EngineScenario scenario;
    registerGroups(scenario);
    for (int i = 0; i < maximumEvents && !input.atEnd(); ++i) {
        playEvent(input, scenario);
    }
    return 0;
}
