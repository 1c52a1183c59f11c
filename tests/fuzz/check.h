// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the process loudly unless \a holds: a fuzzer takes the abort for a finding and keeps the input, a replay fails.
inline void require(bool holds, const char *what)
{
    if (!holds) {
        std::fprintf(stderr, "Wrong answer: %s\n", what);
        std::abort();
    }
}
