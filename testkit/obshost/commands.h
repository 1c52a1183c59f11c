// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once
#include <QByteArray>
#include <QObject>

class Frontend;
class Program;

/// Executes the commands of standard input, one per line, on the main thread, and reports each with one event.
///
///   state           event "state" with the members of currentState()
///   press NAME      presses the dock's button with this text or accessible name; event "pressed" with "found"
///   answer          presses the default button of the open message box; event "pressed" with "found"
///   remove NAME     deletes this item of the current scene; event "removed" with "found"
///   savedock FILE   saves the dock with all groups open; event "saved" with "ok"
///   saveframe FILE  saves the most recent frame of the program; event "saved" with "ok"
///   quit            ends the event loop, as the end of standard input does
class Commands : public QObject
{
public:
    /// \a frontend and \a program must outlive the event loop.
    Commands(Frontend &frontend, const Program &program);

private:
    void execute(const QByteArray &line);
    void press(const QByteArray &name) const;
    [[nodiscard]] bool saveDock(const QString &file) const;

    Frontend &frontend;
    const Program &program;
};
