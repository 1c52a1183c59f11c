// SPDX-License-Identifier: GPL-2.0-or-later
// What the panel shows of the receiver's state, and the signal file for other programs.
#include "statisticsfile.h"
#include "tarvolinedock.h"

#include <QDateTime>
#include <QLabel>
#include <QPushButton>
#include <QTextEdit>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype keptLogLines = 5;

// What a user or a sender does makes a few lines at a time. More come when somebody floods the port, and laying out the
// text takes most of a line's time.
constexpr int logLinesLaidOutAtOnce = 10;

} // namespace

void TarvolineDock::appendLog(const QString &line)
{
    noteLogLine();
    QStringList lines = logView->toPlainText().split(u'\n', Qt::SkipEmptyParts);
    lines.append(line);
    while (lines.size() > keptLogLines) {
        lines.removeFirst();
    }
    logView->setPlainText(lines.join(u'\n'));
    logView->moveCursor(QTextCursor::End);
}

void TarvolineDock::noteLogLine()
{
    ++logLinesThisTurn;
    if (logLinesThisTurn == 1) {
        // Comes before the next repaint, for which alone the layout is needed.
        QMetaObject::invokeMethod(this, &TarvolineDock::endLogTurn, Qt::QueuedConnection);
    } else if (logLinesThisTurn > logLinesLaidOutAtOnce) {
        logView->document()->setLayoutEnabled(false);
    }
}

void TarvolineDock::endLogTurn()
{
    logLinesThisTurn = 0;
    if (!logView->document()->isLayoutEnabled()) {
        logView->document()->setLayoutEnabled(true);
        logView->moveCursor(QTextCursor::End);
    }
}

void TarvolineDock::showRunning(bool running)
{
    statusLabel->setText(running ? tr("Aktiv") : tr("Inaktiv"));
    QPushButton *possible = running ? stopButton : startButton;
    QPushButton *impossible = running ? startButton : stopButton;
    possible->setEnabled(true);
    passFocus(impossible, possible);
    impossible->setEnabled(false);
}

void TarvolineDock::passFocus(const QWidget *from, QWidget *to)
{
    // The window's own note of it, which also stands while another window has the keyboard.
    if (from->window()->focusWidget() == from) {
        to->setFocus(Qt::OtherFocusReason);
    }
}

void TarvolineDock::showStartError(const QString &text)
{
    if (text.contains(tr("konnte nicht geöffnet werden"), Qt::CaseInsensitive)) {
        statusLabel->setText(tr("Fehler"));
    }
}

void TarvolineDock::updateStatistics(int groups, int paths, double megabitsPerSecond, quint64 packets, quint64 bytes)
{
    lastPacketCount = packets;
    const ReceiverStatistics statistics{groups, paths, megabitsPerSecond, packets, bytes};
    writeStatisticsFile(statisticsJson(statistics, QDateTime::currentMSecsSinceEpoch()));
}
