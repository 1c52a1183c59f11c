// SPDX-License-Identifier: GPL-2.0-or-later
// Log view, status line and statistics file.
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

// Usual events log a few lines. A flood, or a system that reports an error for each datagram to a closed port, logs
// thousands per second, and the text layout takes most of the time per line.
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
        // The view must not be painted without a layout.
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
    // focusWidget() of the window is also set while another window is active.
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
