// SPDX-License-Identifier: GPL-2.0-or-later
// Replaces OBS Studio: a process obs64.exe with a main window that closes on WM_CLOSE, a floating dock and a projector,
// which must not receive WM_CLOSE. Appends events to obs64.log in its folder, each with the working folder: "start",
// "end", and "disturbed" for a WM_CLOSE to the dock or the projector.
// --minimize-to-tray hides the main window, as OBS does.
#include <cstdio>
#include <string>
#include <string_view>

#include <windows.h>

namespace {

void logEvent(const char *event)
{
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, MAX_PATH);
    const std::string path(program);
    char folder[MAX_PATH];
    GetCurrentDirectoryA(MAX_PATH, folder);
    if (FILE *log = std::fopen((path.substr(0, path.rfind('.')) + ".log").c_str(), "a")) {
        std::fprintf(log, "%s %s\n", event, folder);
        std::fclose(log);
    }
}

LRESULT CALLBACK handleMainWindow(HWND window, UINT message, WPARAM first, LPARAM second)
{
    if (message == WM_DESTROY) {
        PostQuitMessage(0);
        return 0;
    }
    return DefWindowProcA(window, message, first, second);
}

LRESULT CALLBACK handleOtherWindow(HWND window, UINT message, WPARAM first, LPARAM second)
{
    if (message == WM_CLOSE) {
        logEvent("disturbed");
        return 0;
    }
    return DefWindowProcA(window, message, first, second);
}

void registerClass(HINSTANCE instance, const char *name, WNDPROC handler)
{
    WNDCLASSA windowClass = {};
    windowClass.lpfnWndProc = handler;
    windowClass.hInstance = instance;
    windowClass.lpszClassName = name;
    RegisterClassA(&windowClass);
}

} // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR commandLine, int)
{
    registerClass(instance, "StandInObs", handleMainWindow);
    registerClass(instance, "StandInObsOther", handleOtherWindow);
    const bool inTheTray = std::string_view(commandLine).find("--minimize-to-tray") != std::string_view::npos;
    // Not in the middle of the screen, where the pointer is and Setup opens its windows.
    HWND mainWindow = CreateWindowA("StandInObs", "OBS 31.1.1 - Profile: Test - Scenes: Test",
                                    WS_OVERLAPPEDWINDOW | (inTheTray ? 0 : WS_VISIBLE), 700, 500, 200, 100, nullptr,
                                    nullptr, instance, nullptr);
    CreateWindowExA(WS_EX_TOOLWINDOW, "StandInObsOther", "OBS dock", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 700, 610, 200,
                    100, mainWindow, nullptr, instance, nullptr);
    CreateWindowA("StandInObsOther", "Projector - Preview", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 700, 720, 200, 100,
                  nullptr, nullptr, instance, nullptr);
    logEvent("start");
    MSG message;
    while (GetMessageA(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
    logEvent("end");
    return 0;
}
