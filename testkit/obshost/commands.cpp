// SPDX-License-Identifier: GPL-2.0-or-later
#include "commands.h"

#include "dockstate.h"
#include "frontend.h"
#include "program.h"
#include "report.h"

#include <QAbstractButton>
#include <QApplication>
#include <QGroupBox>
#include <QTimer>

#include <cstdio>
#include <thread>

using namespace Qt::StringLiterals;

namespace {
constexpr int longestCommand = 4096;

// The click is posted, because a message box runs a nested event loop within it and this command's event must be first.
void click(QAbstractButton *button)
{
    report("pressed", {{u"found"_s, button != nullptr}});
    if (button) {
        QTimer::singleShot(0, button, &QAbstractButton::click);
    }
}
} // namespace

Commands::Commands(Frontend &servedFrontend, const Program &servedProgram)
    : frontend(servedFrontend), program(servedProgram)
{
    // A blocking read in a thread, because Qt has no notifier for standard input on Windows. The read cannot be
    // interrupted, so the thread is detached and ends with the process.
    std::thread([this] {
        char line[longestCommand];
        while (std::fgets(line, sizeof line, stdin)) {
            QMetaObject::invokeMethod(this, [this, text = QByteArray(line).trimmed()] { execute(text); });
        }
        QMetaObject::invokeMethod(this, &QApplication::quit);
    }).detach();
}

void Commands::execute(const QByteArray &line)
{
    const qsizetype space = line.indexOf(' ');
    const QByteArray command = line.first(space < 0 ? line.size() : space);
    const QByteArray argument = space < 0 ? QByteArray() : line.sliced(space + 1);
    if (command == "state") {
        report("state", currentState(frontend));
    } else if (command == "press") {
        press(argument);
    } else if (command == "answer") {
        click(defaultButtonOfMessageBox());
    } else if (command == "remove") {
        report("removed", {{u"found"_s, frontend.removeSceneItem(argument.constData())}});
    } else if (command == "savedock") {
        report("saved", {{u"ok"_s, saveDock(QString::fromUtf8(argument))}});
    } else if (command == "saveframe") {
        const QImage frame = program.frame();
        report("saved", {{u"ok"_s, !frame.isNull() && frame.save(QString::fromUtf8(argument))}});
    } else if (command == "quit") {
        QApplication::quit();
    } else {
        report("unknownCommand", {{u"line"_s, QString::fromUtf8(line)}});
    }
}

void Commands::press(const QByteArray &name) const
{
    const QString wanted = QString::fromUtf8(name);
    QAbstractButton *found = nullptr;
    if (frontend.dock()) {
        const auto buttons = frontend.dock()->findChildren<QAbstractButton *>();
        for (QAbstractButton *button : buttons) {
            if (button->isEnabled() && (button->text() == wanted || button->accessibleName() == wanted)) {
                found = button;
            }
        }
    }
    click(found);
}

bool Commands::saveDock(const QString &file) const
{
    if (!frontend.dock()) {
        return false;
    }
    const auto groups = frontend.dock()->findChildren<QGroupBox *>();
    for (QGroupBox *group : groups) {
        if (group->isCheckable()) {
            group->setChecked(true);
        }
    }
    QApplication::processEvents();
    return frontend.dock()->grab().save(file);
}
