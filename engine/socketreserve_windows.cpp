// SPDX-License-Identifier: GPL-2.0-or-later
#include "socketreserve.h"

std::optional<DescriptorUse> descriptorUse()
{
    // A socket is a handle, and a process may have millions of them. Sockets use up UDP ports, which files don't need.
    return std::nullopt;
}
