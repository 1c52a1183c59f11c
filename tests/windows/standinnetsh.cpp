// SPDX-License-Identifier: GPL-2.0-or-later
// Replaces netsh, because Wine has no firewall: appends its command line to netsh.log in its folder.
#include <cstring>

#include <windows.h>

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR arguments, int)
{
    char path[MAX_PATH];
    const DWORD length = GetModuleFileNameA(nullptr, path, MAX_PATH);
    std::memcpy(path + length - 3, "log", 3);
    HANDLE file =
        CreateFileA(path, FILE_APPEND_DATA, FILE_SHARE_READ, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return 1;
    }
    DWORD written = 0;
    WriteFile(file, arguments, DWORD(std::strlen(arguments)), &written, nullptr);
    WriteFile(file, "\n", 1, &written, nullptr);
    CloseHandle(file);
    return 0;
}
