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
    // The window of a floating dock, which the user may close at any time, is no QMainWindow.
    auto *window = event->type() == QEvent::Close ? qobject_cast<QMainWindow *>(object) : nullptr;
    if (window) {
        for (const QWidget *widget = inside; widget; widget = widget->parentWidget()) {
            if (widget == window) {
                closing = window;
            }
        }
    }
    return QObject::eventFilter(object, event);
}
