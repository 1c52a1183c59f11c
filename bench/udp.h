// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <netinet/in.h>
#include <span>

/// A loopback UDP socket of the load's side. Ends the program with a message when the system refuses something.
class Udp
{
public:
    /// Binds to \a port (0: the system's choice) and asks for a receive buffer of \a receiveBufferBytes.
    explicit Udp(std::uint16_t port = 0, int receiveBufferBytes = 0);
    Udp(Udp &&other) noexcept;
    Udp &operator=(Udp &&) = delete;
    ~Udp();

    [[nodiscard]] std::uint16_t port() const;
    void sendTo(std::uint16_t port, std::span<const std::byte> datagram) const;
    /// Sends to where the last received datagram came from.
    void answer(std::span<const std::byte> datagram) const;
    /// Takes a waiting datagram; its size, or a negative number when none waits.
    std::ptrdiff_t receive(std::span<std::byte> buffer);
    /// Waits until a datagram is there, at most \a ms milliseconds; whether one is.
    [[nodiscard]] bool wait(int ms) const;

private:
    int fd;
    sockaddr_in lastSender{};
};

/// A port of loopback that was free a moment ago.
[[nodiscard]] std::uint16_t freePort();
