// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QAccessible>
#include <QString>
#include <QWidget>

/// The accessible name of \a widget.
inline QString accessibleNameOf(QWidget *widget)
{
    const QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(widget);
    return interface ? interface->text(QAccessible::Name) : QString();
}

/// The control of type \a Control with the accessible name \a name in \a panel; null unless there is exactly one.
template<typename Control> Control *control(const QWidget &panel, const QString &name)
{
    Control *found = nullptr;
    const QList<Control *> candidates = panel.findChildren<Control *>();
    for (Control *candidate : candidates) {
        if (accessibleNameOf(candidate) == name) {
            if (found) {
                return nullptr;
            }
            found = candidate;
        }
    }
    return found;
}
