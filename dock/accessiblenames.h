// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>

class QFormLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QWidget;

/// Accessible names of the panel's controls, for screen readers and scripts. A name consists of the texts in the row of
/// the control.
namespace AccessibleNames {

/// Appends a row to \a form whose label names \a control, which is \a field or a part of it.
void addRow(QFormLayout *form, const QString &label, QWidget *field, QWidget *control);

/// Names \a edit after the row and the \a label beside it: "Ports: SRTLA".
void nameInRow(QLineEdit *edit, QLabel *label, const QString &rowLabel);

/// Names \a button after the edit of its row and its own text: "Passwort: Kopieren". The text alone is ambiguous,
/// because other rows have a button with the same text.
void nameInRow(QPushButton *button, const QLineEdit *edit);

} // namespace AccessibleNames
