// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <srt/srt.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// A file travels in SRT's live mode: one message that holds its size (8 bytes, big-endian), then its bytes in messages
/// of payloadSize, the last one shorter, then endMessage until the listener hangs up. A caller that reconnects goes on
/// where a camera would be by then: what came meanwhile is gone. Its later streams are called NAME-1, NAME-2 and so on.
namespace srtfile {

inline constexpr int payloadSize = 1316; // what seven MPEG-TS packets take, as a live encoder sends
inline constexpr std::size_t sizeMessageLength = sizeof(std::uint64_t);
inline constexpr std::string_view endMessage = "end of the file";

struct Options
{
    std::string mode; ///< "send" or "receive"
    int port = 0;
    std::string file;   ///< to be sent
    std::string folder; ///< into which streams are received, each under its stream id
    std::string streamId;
    std::string passphrase;
    double megabitsPerSecond = 0;
    int latencyMs = 0;
    int streams = 1;   ///< that are awaited
    int repeat = 1;    ///< how often the file is sent, one after the other
    int fromMs = 0;    ///< how far the file has already been played when sending begins
    int reconnect = 0; ///< whether to connect anew when the connection breaks, until it breaks no more
};

/// Sends the file as an SRT caller; returns whether the last connection held until the listener hung up.
bool send(const Options &options);
/// Receives streams as one SRT listener until as many as wanted have ended; returns whether all were whole.
bool receive(const Options &options);

/// A socket in live mode, set up as the options say. Throws std::runtime_error with libsrt's text.
SRTSOCKET makeSocket(const Options &options);
sockaddr_in loopback(int port);
/// Throws std::runtime_error with \a what and libsrt's text if \a result is an error.
void check(int result, const char *what);
/// Writes one line to standard output at once; lines of several threads don't mix.
void writeLine(const std::string &line);

} // namespace srtfile
