// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QList>
#include <QMessageBox>
#include <QObject>
#include <QPointer>

#include <functional>

/// Content of a shown message box.
struct ShownMessageBox
{
    QString title;
    QString text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QMessageBox::StandardButtons buttons = QMessageBox::NoButton;
    const QWidget *parent = nullptr;
};

/// Records each message box and answers it in its event loop, by default with Ok. A box that stays open for 30 s is
/// closed and fails the test.
class MessageBoxes : public QObject
{
    Q_OBJECT

public:
    using Answer = std::function<void(QMessageBox &box)>;

    MessageBoxes();
    ~MessageBoxes() override;
    Q_DISABLE_COPY_MOVE(MessageBoxes)

    void answerWith(Answer newAnswer) { answer = std::move(newAnswer); }
    [[nodiscard]] const QList<ShownMessageBox> &shown() const { return shownBoxes; }

    static void press(QMessageBox &box, QMessageBox::StandardButton button);

protected:
    bool eventFilter(QObject *object, QEvent *event) override;

private:
    Answer answer;
    QList<ShownMessageBox> shownBoxes;
};
