// SPDX-License-Identifier: GPL-2.0-or-later
// What the panel shows of the receiver's state, and the signal file for other programs.
#include "statisticsfile.h"
#include "tarvolinedock.h"

#include <QDateTime>
#include <QLabel>
#include <QPushButton>
#include <QTextEdit>
#include <QTimer>

#include <chrono>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype keptLogLines = 5;

// Ordinary events make a few lines at a time. A flood, or a system that reports every datagram to a closed port, makes
// thousands a second, and laying out the text takes most of a line's time.
constexpr int logLinesLaidOutAtOnce = 10;
constexpr std::chrono::milliseconds logBurstInterval(100);

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
    ++logLinesOfBurst;
    if (logLinesOfBurst == 1) {
        QTimer::singleShot(logBurstInterval, this, &TarvolineDock::endLogBurst);
    } else if (logLinesOfBurst > logLinesLaidOutAtOnce) {
        // The view goes on showing what it shows; without a layout it must not be painted.
        logView->setUpdatesEnabled(false);
        logView->document()->setLayoutEnabled(false);
    }
}

void TarvolineDock::endLogBurst()
{
    logLinesOfBurst = 0;
    if (!logView->document()->isLayoutEnabled()) {
        logView->document()->setLayoutEnabled(true);
        logView->moveCursor(QTextCursor::End);
        logView->setUpdatesEnabled(true);
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
