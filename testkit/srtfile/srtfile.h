// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <srt/srt.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// A file is sent in SRT's live mode: one message with its size (8 bytes, big-endian), then its bytes in messages of
/// payloadSize, the last one shorter, then endMessage until the listener closes the connection. A caller that
/// reconnects continues at the current position of a live source and skips the time between. Its later streams are
/// named NAME-1, NAME-2 and so on.
namespace srtfile {

inline constexpr int payloadSize = 1316; // seven MPEG-TS packets
inline constexpr std::size_t sizeMessageLength = sizeof(std::uint64_t);
inline constexpr std::string_view endMessage = "end of the file";

struct Options
{
    std::string mode; ///< "send" or "receive"
    int port = 0;
    std::string file;   ///< file to send
    std::string folder; ///< folder for received streams, named by their stream ids
    std::string streamId;
    std::string passphrase;
    double megabitsPerSecond = 0;
    int latencyMs = 0;
    int streams = 1;   ///< number of expected streams
    int repeat = 1;    ///< number of times that the file is sent
    int fromMs = 0;    ///< start position in the file
    int reconnect = 0; ///< whether to reconnect when the connection breaks
};

/// Sends the file as an SRT caller; returns whether the last connection stayed open until the listener closed it.
bool send(const Options &options);
/// Receives the expected number of streams as one SRT listener; returns whether all were complete.
bool receive(const Options &options);

/// Creates a socket in live mode with the options. Throws std::runtime_error with libsrt's text.
SRTSOCKET makeSocket(const Options &options);
sockaddr_in loopback(int port);
/// Throws std::runtime_error with \a what and libsrt's text if \a result is an error.
void check(int result, const char *what);
/// Writes one line to standard output, thread-safe.
void writeLine(const std::string &line);

} // namespace srtfile
