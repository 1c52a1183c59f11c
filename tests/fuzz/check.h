// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdio>
#include <cstdlib>

/// Aborts the process unless \a holds: the fuzzer keeps the input as a finding, a replay fails.
inline void require(bool holds, const char *what)
{
    if (!holds) {
        std::fprintf(stderr, "Difference: %s\n", what);
        std::abort();
    }
}
