// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>
#include <QtGlobal>

/// Keeps a file as it is while this object lives: what is checked then is what is started then.
///
/// On Windows nobody can write, rename, remove or replace the file: an open handle refuses it. Elsewhere a handle
/// refuses nothing, and no other user can: the file is this user's own and writable for them alone, in a folder where
/// others can rename and remove nothing of theirs. A link is never held, as its target can be exchanged.
class HeldFile
{
public:
    /// Tries to hold the file at \a path; ask isHeld() for the result.
    explicit HeldFile(const QString &path);
    ~HeldFile();
    Q_DISABLE_COPY_MOVE(HeldFile)

    [[nodiscard]] bool isHeld() const { return handle != noHandle; }

private:
    static constexpr qintptr noHandle = -1; ///< the same on both systems: open()'s failure, INVALID_HANDLE_VALUE

    qintptr handle = noHandle;
};
