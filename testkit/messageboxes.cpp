// SPDX-License-Identifier: GPL-2.0-or-later
#include "testkit/messageboxes.h"

#include <QAbstractButton>
#include <QApplication>
#include <QEvent>
#include <QTest>
#include <QTimer>

#include <chrono>

using namespace std::chrono_literals;

namespace {

// Limits the time that a test waits for an unanswered message box.
constexpr std::chrono::milliseconds answerTimeout = 30s;

} // namespace

MessageBoxes::MessageBoxes()
{
    answer = [](QMessageBox &box) { press(box, QMessageBox::Ok); };
    qApp->installEventFilter(this);
}

MessageBoxes::~MessageBoxes()
{
    qApp->removeEventFilter(this);
}

void MessageBoxes::press(QMessageBox &box, QMessageBox::StandardButton button)
{
    QAbstractButton *const pressed = box.button(button);
    if (!pressed) {
        qFatal("The message box \"%s\" has no such button.", qPrintable(box.windowTitle()));
    }
    pressed->click();
}

bool MessageBoxes::eventFilter(QObject *object, QEvent *event)
{
    auto *box = qobject_cast<QMessageBox *>(object);
    if (box && event->type() == QEvent::Show) {
        shownBoxes.append({box->windowTitle(), box->text(), box->icon(), box->standardButtons(), box->parentWidget()});
        // Queued, so that it happens in the box's own event loop.
        QMetaObject::invokeMethod(box, [this, box] { answer(*box); }, Qt::QueuedConnection);
        QTimer::singleShot(answerTimeout, box, [box] {
            QTest::qFail(qPrintable(QStringLiteral("The message box \"%1\" stayed open.").arg(box->windowTitle())),
                         __FILE__, __LINE__);
            box->done(QMessageBox::NoButton);
        });
    }
    return QObject::eventFilter(object, event);
}
