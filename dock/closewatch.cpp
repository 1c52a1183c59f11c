// SPDX-License-Identifier: GPL-2.0-or-later
#include "closewatch.h"

#include <QCoreApplication>
#include <QEvent>
#include <QMainWindow>

CloseWatch::CloseWatch(const QWidget *widget) : inside(widget)
{
    QCoreApplication::instance()->installEventFilter(this);
}

bool CloseWatch::eventFilter(QObject *object, QEvent *event)
{
    // The dock's own floating window, which the user may close at any time, is no QMainWindow.
    auto *window = event->type() == QEvent::Close ? qobject_cast<QMainWindow *>(object) : nullptr;
    if (window) {
        for (const QWidget *widget = inside; widget; widget = widget->parentWidget()) {
            if (widget == window) {
                asked = window;
            }
        }
    }
    return QObject::eventFilter(object, event);
}
