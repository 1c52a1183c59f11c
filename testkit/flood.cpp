// SPDX-License-Identifier: GPL-2.0-or-later
// Floods a port on loopback:
// flood PORT (garbage|reg1|reg2|oversized|newcomers|groups) SIZE RATE SOURCES SECONDS
// SIZE applies to garbage and oversized datagrams; SOURCES is the number of source ports. newcomers: each REG1 has a
// different address in 127.0.0.0/8. groups: SOURCES addresses register one group each, RATE per second, send one packet
// of 16 bytes and a keepalive every 5 s. Limited to loopback. Prints the number of sent datagrams as JSON.
#include "floodaddresses.h"

#include <arpa/inet.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Datagram = std::vector<std::uint8_t>;

constexpr int exitUsage = 2;
constexpr std::uint8_t reg1 = 0x00;
constexpr std::uint8_t reg2 = 0x01;
constexpr int batchSize = 32; // datagrams per system call
// Descriptors besides those of the sources, for example standard output.
constexpr int otherDescriptors = 64;
constexpr int smallestBuffer = 1; // responses are ignored; the system rounds this up

std::vector<int> openSources(int count)
{
    rlimit files{};
    check(getrlimit(RLIMIT_NOFILE, &files) == 0, "getrlimit");
    files.rlim_cur = std::max<rlim_t>(files.rlim_cur, static_cast<rlim_t>(count) + otherDescriptors);
    files.rlim_max = std::max(files.rlim_max, files.rlim_cur);
    check(setrlimit(RLIMIT_NOFILE, &files) == 0, "setrlimit");
    std::vector<int> sources;
    for (int number = 0; number < count; ++number) {
        const int source = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        check(source >= 0, "socket");
        check(setsockopt(source, SOL_SOCKET, SO_RCVBUF, &smallestBuffer, sizeof smallestBuffer) == 0, "SO_RCVBUF");
        sources.push_back(source);
    }
    return sources;
}

/// Creates datagrams of one kind; each registration has a different id.
class Maker
{
public:
    Maker(const std::string &kind, std::size_t size)
        : registers(kind == "reg1" || kind == "reg2"), bytes(registers ? registrationBytes : size)
    {
        std::ranges::generate(bytes, [this] { return static_cast<std::uint8_t>(random()); });
        if (registers) {
            bytes[0] = registrationType;
            bytes[1] = kind == "reg1" ? reg1 : reg2;
        } else {
            bytes[0] &= 0x7f; // classified as SRT data
        }
    }
    void fill(Datagram &datagram)
    {
        datagram = bytes;
        const std::uint64_t fresh = random();
        const std::size_t after = registers ? 2 : datagram.size();
        if (after + sizeof fresh <= datagram.size()) {
            std::memcpy(datagram.data() + after, &fresh, sizeof fresh);
        }
    }

private:
    std::mt19937_64 random{std::random_device{}()};
    bool registers;
    Datagram bytes;
};

/// Sends a batch of datagrams from one source with one system call.
int sendBatch(int source, sockaddr_in &to, std::array<Datagram, batchSize> &datagrams, unsigned count)
{
    std::array<mmsghdr, batchSize> messages{};
    std::array<iovec, batchSize> parts{};
    for (unsigned at = 0; at < count; ++at) {
        parts[at] = {datagrams[at].data(), datagrams[at].size()};
        messages[at].msg_hdr.msg_name = &to;
        messages[at].msg_hdr.msg_namelen = sizeof to;
        messages[at].msg_hdr.msg_iov = &parts[at];
        messages[at].msg_hdr.msg_iovlen = 1;
    }
    return std::max(0, sendmmsg(source, messages.data(), count, 0));
}

void printSent(std::uint64_t sent, std::chrono::duration<double> took)
{
    std::printf(R"({"event":"flooded","sent":%llu,"perSecond":%.0f})"
                "\n",
                static_cast<unsigned long long>(sent), static_cast<double>(sent) / took.count());
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 7) {
        std::fputs("usage: flood PORT garbage|reg1|reg2|oversized|newcomers|groups SIZE RATE SOURCES SECONDS\n",
                   stderr);
        return exitUsage;
    }
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(static_cast<std::uint16_t>(std::stoi(argv[1])));
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const double rate = std::stod(argv[4]);
    const std::chrono::duration<double> length(std::stod(argv[6]));
    const std::string kind = argv[2];
    if (kind == "newcomers" || kind == "groups") {
        AddressFlood flood(to);
        printSent(kind == "groups" ? flood.holdGroups(std::stoul(argv[5]), rate, length)
                                   : flood.sendReg1s(rate, length),
                  length);
        return 0;
    }
    Maker maker(kind, std::stoul(argv[3]));
    const std::vector<int> sources = openSources(std::stoi(argv[5]));
    // Few sources send in batches; many sources send one datagram each in turn.
    const unsigned batch = sources.size() > batchSize ? 1 : batchSize;

    std::array<Datagram, batchSize> datagrams;
    std::uint64_t sent = 0;
    std::uint64_t tried = 0;
    const auto start = Clock::now();
    for (std::size_t turn = 0; Clock::now() - start < length; turn = (turn + 1) % sources.size()) {
        std::this_thread::sleep_until(start + std::chrono::duration_cast<Clock::duration>(
                                                  std::chrono::duration<double>(static_cast<double>(tried) / rate)));
        for (unsigned at = 0; at < batch; ++at) {
            maker.fill(datagrams[at]);
        }
        sent += static_cast<std::uint64_t>(sendBatch(sources[turn], to, datagrams, batch));
        tried += batch;
    }
    printSent(sent, Clock::now() - start);
    return 0;
}
