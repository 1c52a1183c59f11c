// SPDX-License-Identifier: GPL-2.0-or-later
#include "udp.h"

#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace {

void check(bool good, const char *what)
{
    if (!good) {
        std::perror(what);
        std::exit(1);
    }
}

sockaddr_in loopback(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

const sockaddr *generic(const sockaddr_in &address)
{
    return reinterpret_cast<const sockaddr *>(&address);
}

} // namespace

Udp::Udp(std::uint16_t port, int receiveBufferBytes) : fd(socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0))
{
    check(fd >= 0, "socket");
    if (receiveBufferBytes > 0) {
        check(setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &receiveBufferBytes, sizeof receiveBufferBytes) == 0, "SO_RCVBUF");
    }
    const sockaddr_in address = loopback(port);
    check(bind(fd, generic(address), sizeof address) == 0, "bind");
}

Udp::Udp(Udp &&other) noexcept : fd(std::exchange(other.fd, -1)), lastSender(other.lastSender) {}

Udp::~Udp()
{
    if (fd >= 0) {
        close(fd);
    }
}

std::uint16_t Udp::port() const
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    check(getsockname(fd, reinterpret_cast<sockaddr *>(&address), &size) == 0, "getsockname");
    return ntohs(address.sin_port);
}

void Udp::sendTo(std::uint16_t port, std::span<const std::byte> datagram) const
{
    const sockaddr_in address = loopback(port);
    sendto(fd, datagram.data(), datagram.size(), 0, generic(address), sizeof address);
}

void Udp::reply(std::span<const std::byte> datagram) const
{
    sendto(fd, datagram.data(), datagram.size(), 0, generic(lastSender), sizeof lastSender);
}

std::ptrdiff_t Udp::receive(std::span<std::byte> buffer)
{
    socklen_t size = sizeof lastSender;
    return recvfrom(fd, buffer.data(), buffer.size(), 0, reinterpret_cast<sockaddr *>(&lastSender), &size);
}

bool Udp::wait(int ms) const
{
    pollfd waiting{.fd = fd, .events = POLLIN, .revents = 0};
    return poll(&waiting, 1, ms) > 0;
}

std::uint16_t freePort()
{
    return Udp().port();
}
