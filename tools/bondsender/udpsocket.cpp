// SPDX-License-Identifier: GPL-2.0-or-later
#include "udpsocket.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <utility>

namespace bondsender {
namespace {

// One second of a fast stream while the process is not scheduled.
constexpr int bufferSize = 4 * 1024 * 1024;
constexpr std::size_t largestDatagram = 65536;

sockaddr_in toSystem(const Endpoint &endpoint)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = endpoint.address;
    address.sin_port = htons(endpoint.port);
    return address;
}

} // namespace

std::optional<Endpoint> makeEndpoint(const std::string &address, std::uint16_t port)
{
    in_addr parsed{};
    if (inet_pton(AF_INET, address.c_str(), &parsed) != 1) {
        return std::nullopt;
    }
    return Endpoint{parsed.s_addr, port};
}

UdpSocket::UdpSocket(UdpSocket &&other) noexcept : fd(std::exchange(other.fd, -1)) {}

UdpSocket &UdpSocket::operator=(UdpSocket &&other) noexcept
{
    std::swap(fd, other.fd);
    return *this;
}

UdpSocket::~UdpSocket()
{
    if (fd != -1) {
        close(fd);
    }
}

bool UdpSocket::open(const Endpoint &local)
{
    fd = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd == -1) {
        return false;
    }
    setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &bufferSize, sizeof bufferSize);
    setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &bufferSize, sizeof bufferSize);
    const sockaddr_in address = toSystem(local);
    return bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
}

std::uint16_t UdpSocket::localPort() const
{
    sockaddr_in address{};
    socklen_t length = sizeof address;
    getsockname(fd, reinterpret_cast<sockaddr *>(&address), &length);
    return ntohs(address.sin_port);
}

std::optional<UdpSocket::Datagram> UdpSocket::receive() const
{
    std::array<std::uint8_t, largestDatagram> buffer; // NOLINT(*-member-init): filled by the system
    sockaddr_in address{};
    socklen_t length = sizeof address;
    const ssize_t size = recvfrom(fd, buffer.data(), buffer.size(), 0, reinterpret_cast<sockaddr *>(&address), &length);
    if (size < 0) {
        return std::nullopt;
    }
    return Datagram{Bytes(buffer.begin(), buffer.begin() + size), {address.sin_addr.s_addr, ntohs(address.sin_port)}};
}

void UdpSocket::send(ByteView datagram, const Endpoint &to) const
{
    const sockaddr_in address = toSystem(to);
    sendto(fd, datagram.data(), datagram.size(), 0, reinterpret_cast<const sockaddr *>(&address), sizeof address);
}

} // namespace bondsender
