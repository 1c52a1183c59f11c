// SPDX-License-Identifier: GPL-2.0-or-later
#include "heldfile.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t writableForOthers = S_IWGRP | S_IWOTH;

/// In a folder with the sticky bit, such as /tmp, users can rename and remove only their own files.
bool isProtectedFolder(const QByteArray &folder)
{
    struct stat status{};
    if (stat(folder.constData(), &status) != 0) {
        return false;
    }
    const bool isTrusted = status.st_uid == geteuid() || status.st_uid == 0;
    return isTrusted && ((status.st_mode & writableForOthers) == 0 || (status.st_mode & S_ISVTX) != 0);
}

bool restrictToOwner(int file)
{
    struct stat status{};
    return fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid() &&
           fchmod(file, status.st_mode & ~writableForOthers) == 0;
}

} // namespace

HeldFile::HeldFile(const QString &path)
{
    const int file = open(QFile::encodeName(path).constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (file < 0) {
        return;
    }
    if (restrictToOwner(file) && isProtectedFolder(QFile::encodeName(QFileInfo(path).absolutePath()))) {
        handle = file;
    } else {
        close(file);
    }
}

HeldFile::~HeldFile()
{
    if (isHeld()) {
        close(static_cast<int>(handle));
    }
}
