// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "packets.h"

#include <netinet/in.h>

#include <cstdint>
#include <optional>
#include <string>

namespace bondsender {

/// An IPv4 endpoint.
struct Endpoint
{
    in_addr_t address = 0; ///< network order
    std::uint16_t port = 0;
    bool operator==(const Endpoint &) const = default;
};

/// Parses a dotted IPv4 address; empty if \a address is invalid.
[[nodiscard]] std::optional<Endpoint> makeEndpoint(const std::string &address, std::uint16_t port);

/// A non-blocking UDP socket, closed by the destructor.
class UdpSocket
{
public:
    struct Datagram
    {
        Bytes bytes;
        Endpoint from;
    };

    UdpSocket() = default;
    UdpSocket(const UdpSocket &) = delete;
    UdpSocket &operator=(const UdpSocket &) = delete;
    UdpSocket(UdpSocket &&other) noexcept;
    UdpSocket &operator=(UdpSocket &&other) noexcept;
    ~UdpSocket();

    /// Binds to \a local with large buffers in both directions; errno has the reason of a failure.
    [[nodiscard]] bool open(const Endpoint &local);
    [[nodiscard]] int descriptor() const { return fd; }
    [[nodiscard]] std::uint16_t localPort() const;
    /// The next pending datagram; empty without one.
    [[nodiscard]] std::optional<Datagram> receive() const;
    /// A datagram that the system rejects is lost.
    void send(ByteView datagram, const Endpoint &to) const;

private:
    int fd = -1;
};

} // namespace bondsender
