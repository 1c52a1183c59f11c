// SPDX-License-Identifier: GPL-2.0-or-later
#include "accessiblenames.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace {

QString withoutColon(const QString &label)
{
    return label.endsWith(u':') ? label.chopped(1) : label;
}

} // namespace

void AccessibleNames::addRow(QFormLayout *form, const QString &label, QWidget *field, QWidget *control)
{
    form->addRow(label, field);
    qobject_cast<QLabel *>(form->labelForField(field))->setBuddy(control);
    // Qt derives the name from the buddy only if both have the same parent.
    control->setAccessibleName(withoutColon(label));
}

void AccessibleNames::nameInRow(QLineEdit *edit, QLabel *label, const QString &rowLabel)
{
    label->setBuddy(edit);
    edit->setAccessibleName(u"%1: %2"_s.arg(withoutColon(rowLabel), label->text()));
}

void AccessibleNames::nameInRow(QPushButton *button, const QLineEdit *edit)
{
    button->setAccessibleName(u"%1: %2"_s.arg(edit->accessibleName(), button->text()));
}
