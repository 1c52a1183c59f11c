// SPDX-License-Identifier: GPL-2.0-or-later
#include "panelwidgets.h"

#include <QPainter>
#include <QResizeEvent>
#include <QTextLayout>
#include <QTextOption>

#include <cmath>
#include <utility>

namespace {

// Minimum and preferred line length of a label, in average character widths.
constexpr int narrowestLabel = 12;
constexpr int preferredLabel = 40;
// QLineEdit's margin on each side of its text, and its cursor, in pixels.
constexpr int editMargin = 2;
constexpr int cursorWidth = 1;

} // namespace

WrappingLabel::WrappingLabel(const QString &text, QWidget *parent) : QLabel(text, parent)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
}

QSize WrappingLabel::frameSize() const
{
    return size() - contentsRect().size();
}

QString WrappingLabel::lines() const
{
    return text().replace(u'\n', QChar::LineSeparator);
}

int WrappingLabel::layOut(QTextLayout &layout, int width) const
{
    layout.setFont(font());
    QTextOption option(Qt::AlignLeft);
    option.setTextDirection(layoutDirection());
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    qreal height = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        line.setPosition(QPointF(0, height));
        height += line.height();
    }
    layout.endLayout();
    return static_cast<int>(std::ceil(height));
}

int WrappingLabel::heightForWidth(int width) const
{
    QTextLayout layout(lines());
    return layOut(layout, width - frameSize().width()) + frameSize().height();
}

bool WrappingLabel::hasHeightForWidth() const
{
    return false;
}

QSize WrappingLabel::sizeHint() const
{
    ensurePolished();
    return {preferredLabel * fontMetrics().averageCharWidth() + frameSize().width(), heightForWidth(width())};
}

QSize WrappingLabel::minimumSizeHint() const
{
    ensurePolished();
    return {narrowestLabel * fontMetrics().averageCharWidth() + frameSize().width(), heightForWidth(width())};
}

void WrappingLabel::resizeEvent(QResizeEvent *event)
{
    QLabel::resizeEvent(event);
    if (event->size().width() != event->oldSize().width()) {
        updateGeometry();
    }
}

void WrappingLabel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    drawFrame(&painter);
    QTextLayout layout(lines());
    layOut(layout, contentsRect().width());
    painter.setPen(palette().color(foregroundRole()));
    layout.draw(&painter, contentsRect().topLeft());
}

SampledEdit::SampledEdit(QString sampleText, const QString &text, QWidget *parent)
    : QLineEdit(text, parent), sample(std::move(sampleText))
{
}

QSize SampledEdit::minimumSizeHint() const
{
    ensurePolished();
    // The base class reserves the width of one character (maxWidth).
    const int wanted =
        fontMetrics().size(Qt::TextSingleLine, sample).width() + 2 * editMargin + cursorWidth + sampledFormSpacing;
    return QLineEdit::minimumSizeHint() + QSize(wanted - fontMetrics().maxWidth(), 0);
}
