// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QLabel>
#include <QLineEdit>

class QTextLayout;

/// A label for plain text that also wraps inside words that are longer than a line. (QLabel is never narrower than its
/// longest word, and an address or a service's message can be a single word.)
///
/// Its size hint is the height for the current width and is updated when the width changes: a QFormLayout with wrapped
/// rows does not always use the height for the final width of a field.
class WrappingLabel : public QLabel
{
public:
    explicit WrappingLabel(const QString &text, QWidget *parent = nullptr);

    [[nodiscard]] int heightForWidth(int width) const override;
    [[nodiscard]] bool hasHeightForWidth() const override;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    [[nodiscard]] QSize frameSize() const;
    /// The text with QChar::LineSeparator as line breaks, as QTextLayout expects.
    [[nodiscard]] QString lines() const;
    /// Breaks the text into lines of \a width pixels and returns their total height in pixels.
    int layOut(QTextLayout &layout, int width) const;
};

/// Pixels between the columns of a form with SampledEdits. QFormLayout ignores the spacing when it decides whether to
/// wrap a row, so SampledEdit reserves it.
inline constexpr int sampledFormSpacing = 8;

/// A line edit whose minimum width fits a sample text in the current font.
class SampledEdit : public QLineEdit
{
public:
    explicit SampledEdit(QString sampleText, const QString &text = {}, QWidget *parent = nullptr);

    [[nodiscard]] QSize minimumSizeHint() const override;

private:
    QString sample;
};
