// SPDX-License-Identifier: GPL-2.0-or-later
#include "floodaddresses.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t firstAddress = 0x7f010000; // 127.1.0.0
constexpr std::uint32_t addressCount = 0x00fe0000; // up to 127.254.255.255
constexpr int receiveBufferBytes = 4 * 1024 * 1024;
constexpr std::chrono::seconds keepaliveInterval(5);

/// Buffer for one IP_PKTINFO control message.
struct PacketInfo
{
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(in_pktinfo))> bytes{};
};

Clock::time_point due(Clock::time_point start, std::uint64_t number, double rate)
{
    return start + std::chrono::duration_cast<Clock::duration>(
                       std::chrono::duration<double>(static_cast<double>(number) / rate));
}

} // namespace

void check(bool good, const char *what)
{
    if (!good) {
        std::perror(what);
        std::exit(EXIT_FAILURE);
    }
}

AddressFlood::AddressFlood(const sockaddr_in &floodedPort)
    : socket(::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)), target(floodedPort)
{
    const int on = 1;
    sockaddr_in any{};
    any.sin_family = AF_INET;
    check(socket >= 0, "socket");
    check(setsockopt(socket, IPPROTO_IP, IP_PKTINFO, &on, sizeof on) == 0, "IP_PKTINFO");
    check(setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &receiveBufferBytes, sizeof receiveBufferBytes) == 0, "SO_RCVBUF");
    check(bind(socket, reinterpret_cast<const sockaddr *>(&any), sizeof any) == 0, "bind");
}

AddressFlood::~AddressFlood()
{
    close(socket);
}

std::uint64_t AddressFlood::sendReg1s(double rate, std::chrono::duration<double> length)
{
    const auto start = Clock::now();
    for (std::uint64_t number = 0; Clock::now() - start < length; ++number) {
        std::this_thread::sleep_until(due(start, number, rate));
        sendReg1(number);
    }
    return sent;
}

std::uint64_t AddressFlood::holdGroups(std::size_t count, double rate, std::chrono::duration<double> length)
{
    constexpr std::array<std::uint8_t, 2> keepalive{0x90, 0x00};
    constexpr std::chrono::milliseconds pollInterval(1);
    const auto start = Clock::now();
    auto nextKeepalives = start + keepaliveInterval;
    std::uint64_t number = 0;
    while (Clock::now() - start < length) {
        for (; number < count && Clock::now() >= due(start, number, rate); ++number) {
            sendReg1(number);
        }
        takeAnswers();
        if (Clock::now() >= nextKeepalives) {
            nextKeepalives += keepaliveInterval;
            for (const std::uint32_t address : registered) {
                sendFrom(address, keepalive);
            }
        }
        std::this_thread::sleep_for(pollInterval);
    }
    return sent;
}

void AddressFlood::sendFrom(std::uint32_t address, std::span<const std::uint8_t> datagram)
{
    PacketInfo control;
    iovec part{const_cast<std::uint8_t *>(datagram.data()), datagram.size()};
    msghdr message{};
    message.msg_name = &target;
    message.msg_namelen = sizeof target;
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.bytes.data();
    message.msg_controllen = control.bytes.size();
    cmsghdr *const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = IPPROTO_IP;
    header->cmsg_type = IP_PKTINFO;
    header->cmsg_len = CMSG_LEN(sizeof(in_pktinfo));
    in_pktinfo source{};
    source.ipi_spec_dst.s_addr = htonl(address);
    std::memcpy(CMSG_DATA(header), &source, sizeof source);
    sent += sendmsg(socket, &message, 0) >= 0 ? 1 : 0;
}

void AddressFlood::sendReg1(std::uint64_t number)
{
    static std::mt19937_64 random{std::random_device{}()};
    std::array<std::uint8_t, registrationBytes> reg1{};
    reg1[0] = registrationType;
    const std::uint64_t id = random();
    std::memcpy(&reg1[2], &id, sizeof id);
    std::memcpy(&reg1[2 + sizeof id], &number, sizeof number);
    sendFrom(firstAddress + static_cast<std::uint32_t>(number % addressCount), reg1);
}

void AddressFlood::takeAnswers()
{
    constexpr std::array<std::uint8_t, 16> packet{0x80, 0x00}; // an SRT control packet: header only
    std::array<std::uint8_t, registrationBytes> answer{};
    for (;;) {
        PacketInfo control;
        iovec part{answer.data(), answer.size()};
        msghdr message{};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        message.msg_control = control.bytes.data();
        message.msg_controllen = control.bytes.size();
        const ssize_t size = recvmsg(socket, &message, 0);
        if (size < 0) {
            return;
        }
        const cmsghdr *const header = CMSG_FIRSTHDR(&message);
        if (header == nullptr || answer[0] != registrationType) {
            continue;
        }
        in_pktinfo info{};
        std::memcpy(&info, CMSG_DATA(header), sizeof info);
        const std::uint32_t address = ntohl(info.ipi_addr.s_addr);
        if (size == ssize_t{registrationBytes}) {
            sendFrom(address, answer); // the response to REG1 is the REG2 to send
        } else if (size == 2) {
            registered.push_back(address);
            sendFrom(address, packet);
        }
    }
}
