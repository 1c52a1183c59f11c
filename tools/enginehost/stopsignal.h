// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <functional>

/// Calls \a stop in the main thread's event loop for each SIGINT and SIGTERM, or on Windows Ctrl+C, Ctrl+Break and
/// close of the console. Requires a QCoreApplication.
void onStopSignal(std::function<void()> stop);
