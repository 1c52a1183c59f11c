// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QtTypes>

#include <optional>

/// How many file descriptors this process may have open, and how many it has.
struct DescriptorUse
{
    qint64 limit;
    qint64 open;
};

/// Empty where the system sets no such limit or does not tell.
[[nodiscard]] std::optional<DescriptorUse> descriptorUse();

/// Keeps file descriptors free for the process that the engine is a guest of: each group opens a socket, and a host
/// that is left without descriptors can open no file, not even a recording.
class SocketReserve
{
public:
    /// Whether one more socket may be opened at \a nowMs, which counts as opened from then on. What the process has
    /// open is counted anew when the last count is 100 ms old: counting takes longer the more there are.
    [[nodiscard]] bool take(qint64 nowMs);

    /// How many sockets may be opened in a process with \a use: all but the last 256 descriptors, or the last quarter
    /// where the limit is below 1024. Negative when there are too many already.
    [[nodiscard]] static qint64 room(const DescriptorUse &use);

private:
    std::optional<qint64> countedMs;
    std::optional<qint64> left; ///< empty: no limit
};
