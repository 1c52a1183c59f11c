// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <srt/srt.h>

#include <cstddef>
#include <cstdint>
#include <string>

/// A file travels in SRT's live mode: one message that holds its size (8 bytes, big-endian), then its bytes in messages
/// of payloadSize, the last one shorter. The listener hangs up when it has it all.
namespace srtfile {

inline constexpr int payloadSize = 1316; // what seven MPEG-TS packets take, as a live encoder sends
inline constexpr std::size_t sizeMessageLength = sizeof(std::uint64_t);

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
    int streams = 1; ///< that are awaited
};

/// Sends the file as an SRT caller; returns whether all of it was fetched.
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
