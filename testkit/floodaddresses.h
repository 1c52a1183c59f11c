// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <netinet/in.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// Size of REG1 and REG2 in bytes, and the first byte of all registration packets.
inline constexpr std::size_t registrationBytes = 258;
inline constexpr std::uint8_t registrationType = 0x92;

/// Ends the program with \a what and the text of errno unless \a good.
void check(bool good, const char *what);

/// Sends from many addresses of 127.0.0.0/8 through one socket: IP_PKTINFO sets each datagram's source address (ip(7)).
/// Ends the program with a message on errors.
class AddressFlood
{
public:
    /// \a floodedPort is the destination, on loopback.
    explicit AddressFlood(const sockaddr_in &floodedPort);
    AddressFlood(const AddressFlood &) = delete;
    AddressFlood &operator=(const AddressFlood &) = delete;
    ~AddressFlood();

    /// Sends \a rate REG1s per second for \a length, each with a different id and address. Returns their number.
    std::uint64_t sendReg1s(double rate, std::chrono::duration<double> length);
    /// Registers \a count groups of one link, \a rate per second; each sends one packet and a keepalive every 5 s, for
    /// \a length. Returns the number of sent datagrams.
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
