// SPDX-License-Identifier: GPL-2.0-or-later
#include "loopback.h"

#include "check.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr std::uint32_t firstHost = INADDR_LOOPBACK;

sockaddr_in socketAddress(std::uint32_t host, std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(host);
    address.sin_port = htons(port);
    return address;
}

/// Two endpoints per address: same address with another port and, if free, same port with another address, so that a
/// lookup by only one of them is detected.
std::uint32_t hostOf(int endpoint)
{
    return firstHost + static_cast<std::uint32_t>(endpoint / 2);
}

bool bindTo(int socket, std::uint32_t host, std::uint16_t port)
{
    const sockaddr_in address = socketAddress(host, port);
    return ::bind(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
}

std::uint16_t boundPort(int socket)
{
    sockaddr_in address{};
    socklen_t length = sizeof address;
    require(::getsockname(socket, reinterpret_cast<sockaddr *>(&address), &length) == 0, "getsockname");
    return ntohs(address.sin_port);
}

void sendTo(int socket, const std::string &datagram, std::uint16_t port)
{
    const sockaddr_in address = socketAddress(firstHost, port);
    const ssize_t sent = ::sendto(socket, datagram.data(), datagram.size(), 0,
                                  reinterpret_cast<const sockaddr *>(&address), sizeof address);
    require(std::cmp_equal(sent, datagram.size()), "a rejected datagram");
}

} // namespace

Loopback::Loopback()
{
    for (std::size_t i = 0; i < sockets.size(); ++i) {
        sockets[i] = ::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        const std::uint32_t host = i < endpointCount ? hostOf(static_cast<int>(i)) : firstHost;
        const std::uint16_t wanted = i >= 2 && i < endpointCount ? ports[i % 2] : std::uint16_t{0};
        require(sockets[i] >= 0 && (bindTo(sockets[i], host, wanted) || bindTo(sockets[i], host, 0)), "no socket");
        ports[i] = boundPort(sockets[i]);
    }
}

Loopback::~Loopback()
{
    for (const int socket : sockets) {
        ::close(socket);
    }
}

void Loopback::sendFromEndpoint(int endpoint, const std::string &datagram, std::uint16_t enginePort) const
{
    sendTo(sockets[static_cast<std::size_t>(endpoint)], datagram, enginePort);
}

void Loopback::sendFromListener(const std::string &datagram, std::uint16_t groupPort) const
{
    sendTo(sockets[endpointCount], datagram, groupPort);
}

Arrivals Loopback::collect() const
{
    Arrivals arrivals;
    std::array<pollfd, endpointCount + 1> watched{};
    for (std::size_t i = 0; i < sockets.size(); ++i) {
        watched[i] = {.fd = sockets[i], .events = POLLIN, .revents = 0};
    }
    if (::poll(watched.data(), watched.size(), 0) <= 0) {
        return arrivals;
    }
    static std::array<char, 65536> buffer;
    for (std::size_t i = 0; i < sockets.size(); ++i) {
        if (watched[i].revents == 0) {
            continue;
        }
        sockaddr_in source{};
        socklen_t length = sizeof source;
        ssize_t size = 0;
        while ((size = ::recvfrom(sockets[i], buffer.data(), buffer.size(), 0, reinterpret_cast<sockaddr *>(&source),
                                  &length)) >= 0) {
            std::string datagram(buffer.data(), static_cast<std::size_t>(size));
            if (i < endpointCount) {
                arrivals.atEndpoint[i].push_back(std::move(datagram));
            } else {
                arrivals.atListener.emplace_back(ntohs(source.sin_port), std::move(datagram));
            }
        }
    }
    return arrivals;
}

std::string Loopback::address(int endpoint)
{
    return "127.0.0." + std::to_string(hostOf(endpoint) - firstHost + 1);
}
