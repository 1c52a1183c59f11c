// SPDX-License-Identifier: GPL-2.0-or-later
#include "heldfile.h"

#include <QDir>

#include <windows.h>

#include <string>

namespace {

bool isPlainFile(HANDLE file)
{
    BY_HANDLE_FILE_INFORMATION information;
    constexpr DWORD others = FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY;
    return GetFileInformationByHandle(file, &information) && (information.dwFileAttributes & others) == 0;
}

} // namespace

HeldFile::HeldFile(const QString &path)
{
    const std::wstring name = QDir::toNativeSeparators(path).toStdWString();
    // FILE_SHARE_READ alone: writing, renaming and removing fail while the handle is open. The call fails when the file
    // is already open for any of these.
    const HANDLE file = CreateFileW(name.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return;
    }
    if (isPlainFile(file)) {
        handle = reinterpret_cast<qintptr>(file);
    } else {
        CloseHandle(file);
    }
}

HeldFile::~HeldFile()
{
    if (isHeld()) {
        CloseHandle(reinterpret_cast<HANDLE>(handle));
    }
}
