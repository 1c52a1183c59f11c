// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <chrono>

namespace bondsender {

using Clock = std::chrono::steady_clock;
using TimePoint = Clock::time_point;
using Microseconds = std::chrono::microseconds;

} // namespace bondsender
