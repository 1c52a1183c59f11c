// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>

class QFormLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QWidget;

// The names under which screen readers and scripts know the panel's controls. They are made of the words that stand in
// the control's own row.
namespace AccessibleNames {

/// Appends a row to \a form whose label names \a control, which is \a field or stands in it.
void addRow(QFormLayout *form, const QString &label, QWidget *field, QWidget *control);

/// Names \a edit after \a label, which stands beside it, and the row that both stand in: "Ports: SRTLA".
void nameInRow(QLineEdit *edit, QLabel *label, const QString &rowLabel);

/// Names \a button after the edit of its row and its own words, which other rows have, too: "Passwort: Kopieren".
void nameInRow(QPushButton *button, const QLineEdit *edit);

} // namespace AccessibleNames
