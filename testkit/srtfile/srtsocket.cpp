// SPDX-License-Identifier: GPL-2.0-or-later
#include "srtfile.h"

#include <arpa/inet.h>

#include <cstdio>
#include <mutex>
#include <stdexcept>

namespace srtfile {
namespace {

// Reordering tolerance in packets, as for OBS's media source.
constexpr int toleratedReordering = 40;

} // namespace

void check(int result, const char *what)
{
    if (result == SRT_ERROR) {
        throw std::runtime_error(std::string(what) + ": " + srt_getlasterror_str());
    }
}

SRTSOCKET makeSocket(const Options &options)
{
    const SRTSOCKET socket = srt_create_socket();
    check(socket, "socket");
    const SRT_TRANSTYPE live = SRTT_LIVE;
    check(srt_setsockflag(socket, SRTO_TRANSTYPE, &live, sizeof live), "live mode");
    check(srt_setsockflag(socket, SRTO_LOSSMAXTTL, &toleratedReordering, sizeof toleratedReordering), "reordering");
    if (options.latencyMs > 0) {
        check(srt_setsockflag(socket, SRTO_LATENCY, &options.latencyMs, sizeof options.latencyMs), "latency");
    }
    if (!options.passphrase.empty()) {
        check(srt_setsockflag(socket, SRTO_PASSPHRASE, options.passphrase.data(),
                              static_cast<int>(options.passphrase.size())),
              "passphrase");
    }
    return socket;
}

sockaddr_in loopback(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return address;
}

void writeLine(const std::string &line)
{
    static std::mutex mutex;
    const std::scoped_lock lock(mutex);
    std::fputs((line + '\n').c_str(), stdout);
    std::fflush(stdout);
}

} // namespace srtfile
