// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>
#include <QtGlobal>

/// Prevents changes of a file while this object exists, so that the checked file is the one that is started.
///
/// On Windows an open handle prevents writing, renaming, removing and replacing the file. On Unix an open descriptor
/// prevents none of these; there the file must belong to this user, is made writable for this user only, and must be in
/// a folder in which other users cannot rename or remove it. Symbolic links are rejected, because their target can
/// change.
class HeldFile
{
public:
    /// Tries to hold the file at \a path; isHeld() returns the result.
    explicit HeldFile(const QString &path);
    ~HeldFile();
    Q_DISABLE_COPY_MOVE(HeldFile)

    [[nodiscard]] bool isHeld() const { return handle != noHandle; }

private:
    static constexpr qintptr noHandle = -1; ///< the same on both systems: open()'s failure, INVALID_HANDLE_VALUE

    qintptr handle = noHandle;
};
