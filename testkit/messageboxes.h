// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QList>
#include <QMessageBox>
#include <QObject>
#include <QPointer>

#include <functional>

/// What a message box showed to the user.
struct ShownMessageBox
{
    QString title;
    QString text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QMessageBox::StandardButtons buttons = QMessageBox::NoButton;
    const QWidget *parent = nullptr;
};

/// The user in front of the message boxes: notes each one that opens and, once it runs, does with it what the test says
/// (at first: presses OK). A box that stays open all the same fails the test and is closed.
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
