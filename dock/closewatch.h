// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

/// Tells whether the main window that holds a widget has been closed, which is how OBS begins to quit: its event loop
/// runs on for a moment after that, and timers still fire.
///
/// A close that the window refuses (the user stays) does not count, nor does a window that hides in the tray.
class CloseWatch : public QObject
{
public:
    /// Watches from now on, also for a window that \a widget comes into later.
    explicit CloseWatch(const QWidget *widget);

    [[nodiscard]] bool isClosed() const { return asked && asked->isHidden(); }

protected:
    bool eventFilter(QObject *object, QEvent *event) override;

private:
    const QWidget *inside;
    QPointer<QWidget> asked; ///< the window that was asked to close
};
