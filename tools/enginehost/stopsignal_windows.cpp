// SPDX-License-Identifier: GPL-2.0-or-later
#include "stopsignal.h"

#include <QCoreApplication>
#include <QMetaObject>

#include <windows.h>

#include <utility>

namespace {

std::function<void()> stopFunction;

// Called by Windows in a separate thread.
BOOL WINAPI handleConsoleEvent(DWORD event)
{
    QMetaObject::invokeMethod(QCoreApplication::instance(), [] { stopFunction(); }, Qt::QueuedConnection);
    if (event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT) {
        // Windows ends the process when this returns, so wait for an orderly end of the main thread.
        constexpr DWORD shutdownTimeMs = 5000;
        Sleep(shutdownTimeMs);
    }
    return TRUE;
}

} // namespace

void onStopSignal(std::function<void()> stop)
{
    stopFunction = std::move(stop);
    SetConsoleCtrlHandler(handleConsoleEvent, TRUE);
}
