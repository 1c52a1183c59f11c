// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <netinet/in.h>

#include <chrono>
#include <cstdint>
#include <span>
#include <vector>

/// Sends from as many addresses of 127.0.0.0/8 as wanted, through one socket: IP_PKTINFO sets each datagram's source
/// address (ip(7)). Ends the program with a message when the system refuses something.
class AddressFlood
{
public:
    /// Datagrams go to \a floodedPort, which has to be on loopback.
    explicit AddressFlood(const sockaddr_in &floodedPort);
    AddressFlood(const AddressFlood &) = delete;
    AddressFlood &operator=(const AddressFlood &) = delete;
    ~AddressFlood();

    /// \a rate REG1s a second for \a length, each with an id of its own from an address of its own. Returns how many.
    std::uint64_t sendReg1s(double rate, std::chrono::duration<double> length);
    /// Registers \a count groups of one link, \a rate a second; each carries one packet and sends a keepalive every 5
    /// s, all for \a length. Returns how many datagrams went out.
    std::uint64_t holdGroups(std::size_t count, double rate, std::chrono::duration<double> length);

private:
    void sendFrom(std::uint32_t address, std::span<const std::uint8_t> datagram);
    void sendReg1(std::uint64_t number);
    void takeAnswers();

    int socket;
    sockaddr_in target;
    std::uint64_t sent = 0;
    std::vector<std::uint32_t> registered; ///< addresses of links
};
