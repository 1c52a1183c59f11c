// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <netinet/in.h>
#include <span>

/// A loopback UDP socket. Ends the program with a message on errors.
class Udp
{
public:
    /// Binds to \a port (0: a free port) and requests a receive buffer of \a receiveBufferBytes.
    explicit Udp(std::uint16_t port = 0, int receiveBufferBytes = 0);
    Udp(Udp &&other) noexcept;
    Udp &operator=(Udp &&) = delete;
    ~Udp();

    [[nodiscard]] std::uint16_t port() const;
    void sendTo(std::uint16_t port, std::span<const std::byte> datagram) const;
    /// Sends to the source of the last received datagram.
    void reply(std::span<const std::byte> datagram) const;
    /// Reads a pending datagram; its size, or a negative number without one.
    std::ptrdiff_t receive(std::span<std::byte> buffer);
    /// Waits up to \a ms milliseconds for a datagram; whether one is pending.
    [[nodiscard]] bool wait(int ms) const;

private:
    int fd;
    sockaddr_in lastSender{};
};

/// A loopback port that was free at the call.
[[nodiscard]] std::uint16_t freePort();
