// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <functional>

/// Calls \a stop in the main thread's event loop, once per time that the system asks this program to end: SIGINT and
/// SIGTERM, or on Windows Ctrl+C, Ctrl+Break and the closing of the console. A QCoreApplication must exist.
void onStopSignal(std::function<void()> stop);
