// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QLabel>
#include <QLineEdit>

class QTextLayout;

/// A label for plain text that goes on in the next line where a line is full, in the middle of a word where that is
/// longer than a line. (QLabel is never narrower than its longest word, and addresses and a service's messages can be
/// one.)
///
/// It asks its layout for the height that its present width needs, anew whenever that changes: a QFormLayout that wraps
/// rows does not always give the height for the width that a field has in the end.
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
    /// The text with the line breaks that QTextLayout knows.
    [[nodiscard]] QString lines() const;
    /// Breaks the text into lines of \a width pixels and returns their height.
    int layOut(QTextLayout &layout, int width) const;
};

/// A line edit that always has room for a text as wide as \a sample, whatever the font.
class SampledEdit : public QLineEdit
{
public:
    explicit SampledEdit(QString sampleText, const QString &text = {}, QWidget *parent = nullptr);

    [[nodiscard]] QSize minimumSizeHint() const override;

private:
    QString sample;
};
