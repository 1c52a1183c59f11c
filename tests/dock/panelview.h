// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "tarvolinedock.h"

#include <QAbstractButton>
#include <QBoxLayout>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>

// Access to the panel through its layouts.
namespace PanelView {

/// Indexes in the column's layout, top to bottom.
enum Place { Title, Status, Settings, Addresses, Buttons, Version, Log, End, PlaceCount };

inline constexpr QMargins groupMargins(8, 7, 8, 8);

inline QScrollArea *scrollAreaOf(const TarvolineDock &dock)
{
    return dock.findChild<QScrollArea *>(Qt::FindDirectChildrenOnly);
}

inline QVBoxLayout *columnOf(const TarvolineDock &dock)
{
    return qobject_cast<QVBoxLayout *>(scrollAreaOf(dock)->widget()->layout());
}

/// The group box at an index of the column; null for another item.
inline QGroupBox *groupAt(const TarvolineDock &dock, int index)
{
    return qobject_cast<QGroupBox *>(columnOf(dock)->itemAt(index)->widget());
}

inline QFormLayout *formAt(const TarvolineDock &dock, int index)
{
    return qobject_cast<QFormLayout *>(groupAt(dock, index)->layout());
}

inline QString rowLabel(const QFormLayout *form, int row)
{
    const QLayoutItem *item = form->itemAt(row, QFormLayout::LabelRole);
    return item ? qobject_cast<QLabel *>(item->widget())->text() : QString();
}

inline QWidget *field(const QFormLayout *form, int row)
{
    return form->itemAt(row, QFormLayout::FieldRole)->widget();
}

/// The items of a box layout as texts; an edit as "[…]", a stretch as "~".
inline QStringList describe(const QLayout *layout)
{
    QStringList parts;
    for (int i = 0; i < layout->count(); ++i) {
        QWidget *widget = layout->itemAt(i)->widget();
        if (!widget) {
            parts << QStringLiteral("~");
        } else if (const auto *label = qobject_cast<QLabel *>(widget)) {
            parts << label->text();
        } else if (const auto *edit = qobject_cast<QLineEdit *>(widget)) {
            parts << QStringLiteral("[%1]").arg(edit->text());
        } else if (const auto *button = qobject_cast<QAbstractButton *>(widget)) {
            parts << button->text();
        } else {
            parts << QString::fromLatin1(widget->metaObject()->className());
        }
    }
    return parts;
}

inline QHBoxLayout *rowOf(const QWidget *row)
{
    return qobject_cast<QHBoxLayout *>(row->layout());
}

} // namespace PanelView
