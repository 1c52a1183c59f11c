// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QtTypes>

#include <optional>

/// Limit and number of the file descriptors that this process has open.
struct DescriptorUse
{
    qint64 limit;
    qint64 open;
};

/// Empty where the system sets no such limit or does not report it.
[[nodiscard]] std::optional<DescriptorUse> descriptorUse();

/// Keeps file descriptors free for the host process: each group opens a socket, and a host without free descriptors
/// can open no file, not even a recording.
class SocketReserve
{
public:
    /// Whether one more socket may be opened; true also counts it as opened. \a nowMs is the engine's clock: the open
    /// descriptors are counted again after 100 ms, because counting takes longer the more there are.
    [[nodiscard]] bool take(qint64 nowMs);

    /// Number of sockets that may be opened in a process with \a use: all but the last 256 descriptors, or all but the
    /// last quarter where the limit is below 1024. Negative when too many are open already.
    [[nodiscard]] static qint64 room(const DescriptorUse &use);

private:
    std::optional<qint64> countedMs;
    std::optional<qint64> left; ///< empty: no limit
};
