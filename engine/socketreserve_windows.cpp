// SPDX-License-Identifier: GPL-2.0-or-later
#include "socketreserve.h"

std::optional<DescriptorUse> descriptorUse()
{
    // Sockets are handles there, of which a process may have millions. They use up UDP ports, which the host's files
    // don't need.
    return std::nullopt;
}
