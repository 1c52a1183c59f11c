// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

/// Detects that the main window of a widget was closed. OBS closes it when it quits; its event loop still runs for a
/// moment and fires timers.
///
/// A rejected close event does not count, nor does a window that is hidden to the tray.
class CloseWatch : public QObject
{
public:
    /// Watches the window that \a widget is in at the time of the event.
    explicit CloseWatch(const QWidget *widget);

    [[nodiscard]] bool isClosed() const { return closing && closing->isHidden(); }

protected:
    bool eventFilter(QObject *object, QEvent *event) override;

private:
    const QWidget *inside;
    QPointer<QWidget> closing; ///< the window that got a close event
};
