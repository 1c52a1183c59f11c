// SPDX-License-Identifier: GPL-2.0-or-later
// The time limits that the C++ tests share.
#pragma once

/// How long a test waits for a condition that has to become true. Far beyond what a loaded machine needs and beyond the
/// time-outs of one HTTPS request, and below the limit of a test function.
inline constexpr int waitMs = 60000;

/// Longer than both delays after which the dock acts by itself (400 ms and 800 ms).
inline constexpr int beyondStartDelaysMs = 1200;
