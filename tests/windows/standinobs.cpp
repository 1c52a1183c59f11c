// SPDX-License-Identifier: GPL-2.0-or-later
// Stands in for OBS Studio where only this matters: a process named obs64.exe with a visible window that goes when it
// is asked to close. Notes its starts and its ends, with its working folder, in obs64.log beside it.
#include <windows.h>

#include <fstream>
#include <string>

namespace {

void note(const char *what)
{
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, MAX_PATH);
    const std::string path(program);
    char folder[MAX_PATH];
    GetCurrentDirectoryA(MAX_PATH, folder);
    std::ofstream(path.substr(0, path.rfind('.')) + ".log", std::ios::app) << what << ' ' << folder << '\n';
}

LRESULT CALLBACK handleMessage(HWND window, UINT message, WPARAM first, LPARAM second)
{
    if (message == WM_DESTROY) {
        PostQuitMessage(0);
        return 0;
    }
    return DefWindowProcA(window, message, first, second);
}

} // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int)
{
    WNDCLASSA windowClass = {};
    windowClass.lpfnWndProc = handleMessage;
    windowClass.hInstance = instance;
    windowClass.lpszClassName = "StandInObs";
    RegisterClassA(&windowClass);
    CreateWindowA("StandInObs", "OBS", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 700, 500, 200, 100, nullptr, nullptr, instance,
                  nullptr);
    note("start");
    MSG message;
    while (GetMessageA(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
    note("end");
    return 0;
}
