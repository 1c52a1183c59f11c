// SPDX-License-Identifier: GPL-2.0-or-later
// The time limits that the C++ tests share.
#pragma once

/// Time limit for a condition that has to become true: longer than the duration on a loaded machine and the time-outs
/// of one HTTPS request, shorter than the time limit of a test function.
inline constexpr int waitMs = 60000;

/// Longer than the dock's delays before its automatic actions at the start (400 ms and 800 ms).
inline constexpr int beyondStartDelaysMs = 1200;
