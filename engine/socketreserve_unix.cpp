// SPDX-License-Identifier: GPL-2.0-or-later
#include "socketreserve.h"

#include <filesystem>
#include <sys/resource.h>
#include <system_error>

std::optional<DescriptorUse> descriptorUse()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) {
        return std::nullopt;
    }
    // One entry for each open descriptor (proc(5)), including the one that reads the folder.
    std::error_code error;
    qint64 open = -1;
    std::filesystem::directory_iterator entry("/proc/self/fd", error);
    while (!error && entry != std::filesystem::directory_iterator()) {
        ++open;
        entry.increment(error);
    }
    if (error) {
        return std::nullopt;
    }
    return DescriptorUse{.limit = static_cast<qint64>(limit.rlim_cur), .open = open};
}
