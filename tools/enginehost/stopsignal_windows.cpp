// SPDX-License-Identifier: GPL-2.0-or-later
#include "stopsignal.h"

#include <QCoreApplication>
#include <QMetaObject>

#include <windows.h>

#include <utility>

namespace {

std::function<void()> stopFunction;

// Windows calls this in a thread of its own.
BOOL WINAPI handleConsoleEvent(DWORD event)
{
    QMetaObject::invokeMethod(QCoreApplication::instance(), [] { stopFunction(); }, Qt::QueuedConnection);
    if (event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT) {
        // Windows ends the program as soon as this returns; the main thread gets its time to end in its own order.
        constexpr DWORD patienceMs = 5000;
        Sleep(patienceMs);
    }
    return TRUE;
}

} // namespace

void onStopSignal(std::function<void()> stop)
{
    stopFunction = std::move(stop);
    SetConsoleCtrlHandler(handleConsoleEvent, TRUE);
}
