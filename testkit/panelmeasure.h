// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QCheckBox>
#include <QFontMetrics>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QStyle>
#include <QStyleOptionButton>
#include <QStyleOptionFrame>
#include <QStyleOptionGroupBox>

#include <algorithm>

// Detection of truncated texts in a panel; all lengths in pixels.
namespace PanelMeasure {

inline int textWidth(const QWidget *widget, const QString &text)
{
    return widget->fontMetrics().size(Qt::TextShowMnemonic, text).width();
}

/// The width that the style leaves for the text of a control.
inline int roomInButton(const QAbstractButton *button, QStyle::SubElement element)
{
    QStyleOptionButton option;
    option.initFrom(button);
    if (const auto *box = qobject_cast<const QCheckBox *>(button)) {
        option.state |= box->isChecked() ? QStyle::State_On : QStyle::State_Off;
    }
    return button->style()->subElementRect(element, &option, button).width();
}

inline int roomInEdit(const QLineEdit *edit)
{
    QStyleOptionFrame option;
    option.initFrom(edit);
    option.lineWidth = edit->style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &option, edit);
    constexpr int marginInsideQLineEdit = 2; // on each side, as in Qt
    return edit->style()->subElementRect(QStyle::SE_LineEditContents, &option, edit).width() -
           2 * marginInsideQLineEdit;
}

inline int roomInGroup(const QGroupBox *group)
{
    QStyleOptionGroupBox option;
    option.initFrom(group);
    option.text = group->title();
    option.subControls = QStyle::SC_GroupBoxLabel;
    if (group->isCheckable()) {
        option.subControls |= QStyle::SC_GroupBoxCheckBox;
    }
    const QRect title = group->style()->subControlRect(QStyle::CC_GroupBox, &option, QStyle::SC_GroupBoxLabel, group);
    return title.intersected(group->rect()).width();
}

/// The missing width or height of a label for its text.
inline int lackingIn(const QLabel *label)
{
    if (label->wordWrap()) {
        return std::max(label->minimumSizeHint().width() - label->width(),
                        label->heightForWidth(label->width()) - label->height());
    }
    const QSize lacking = label->sizeHint() - label->size();
    return std::max(lacking.width(), lacking.height());
}

/// The missing width of an edit for its placeholder and for a port number; longer texts may scroll.
inline int lackingIn(const QLineEdit *edit)
{
    constexpr int digitsOfAPort = 5;
    const int room = roomInEdit(edit);
    const int text = edit->text().size() <= digitsOfAPort ? textWidth(edit, edit->text()) : 0;
    return std::max(text, textWidth(edit, edit->placeholderText())) - room;
}

inline int lackingIn(const QWidget *widget)
{
    if (const auto *edit = qobject_cast<const QLineEdit *>(widget)) {
        return lackingIn(edit);
    }
    if (const auto *label = qobject_cast<const QLabel *>(widget)) {
        return lackingIn(label);
    }
    if (const auto *box = qobject_cast<const QCheckBox *>(widget)) {
        return textWidth(box, box->text()) - roomInButton(box, QStyle::SE_CheckBoxContents);
    }
    if (const auto *button = qobject_cast<const QPushButton *>(widget)) {
        // The text may overlap a border of one pixel.
        const int room = std::max(roomInButton(button, QStyle::SE_PushButtonContents), button->width() - 1);
        return textWidth(button, button->text()) - room;
    }
    if (const auto *group = qobject_cast<const QGroupBox *>(widget)) {
        return group->fontMetrics().horizontalAdvance(group->title()) - roomInGroup(group);
    }
    return 0;
}

inline QString describe(const QWidget *widget)
{
    const QString text = widget->property("text").toString() + widget->property("title").toString();
    return QStringLiteral("%1 \"%2\"").arg(QLatin1StringView(widget->metaObject()->className()), text);
}

/// The siblings of \a widget that cover a part of it.
inline QStringList coveredBy(const QWidget *widget)
{
    QStringList found;
    const QList<QWidget *> siblings = widget->parentWidget()->findChildren<QWidget *>(Qt::FindDirectChildrenOnly);
    for (const QWidget *sibling : siblings) {
        if (sibling != widget && sibling->isVisible() && sibling->geometry().intersects(widget->geometry())) {
            found << QStringLiteral("%1 covers %2").arg(describe(sibling), describe(widget));
        }
    }
    return found;
}

/// The widgets in \a area that extend beyond its sides, truncate their text (with the missing pixels), are lower than
/// their minimum height or are covered. Empty margins may extend beyond the sides.
inline QStringList cutOff(const QScrollArea *area)
{
    QStringList found;
    const QWidget *viewport = area->viewport();
    const QList<QWidget *> widgets = area->widget()->findChildren<QWidget *>();
    for (const QWidget *widget : widgets) {
        if (!widget->isVisible() || qobject_cast<const QScrollArea *>(widget->parentWidget())) {
            continue;
        }
        const int left = widget->mapTo(viewport, QPoint()).x();
        const int beyond = std::max(-left, left + widget->width() - viewport->width());
        if (beyond > 0) {
            found << QStringLiteral("%1: %2 pixels beyond the side").arg(describe(widget), QString::number(beyond));
        }
        if (const int lacking = lackingIn(widget); lacking > 0) {
            found << QStringLiteral("%1: %2 pixels lacking").arg(describe(widget), QString::number(lacking));
        }
        const bool isControl = qobject_cast<const QLineEdit *>(widget) || qobject_cast<const QPushButton *>(widget);
        if (isControl && widget->height() < std::min(widget->minimumSizeHint().height(), widget->maximumHeight())) {
            found << QStringLiteral("%1: too low").arg(describe(widget));
        }
        found += coveredBy(widget);
    }
    return found;
}

} // namespace PanelMeasure
