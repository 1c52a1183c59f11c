// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>
#include <QtGlobal>

/// The receiver's figures, as SrtlaEngine::statisticsChanged reports them.
struct ReceiverStatistics
{
    int groups = 0;
    int paths = 0;
    double megabitsPerSecond = 0;
    quint64 packets = 0;
    quint64 bytes = 0;
};

/// The signal file's content: one compact JSON object. \a timestampMs counts milliseconds since 1970-01-01 UTC.
QByteArray statisticsJson(const ReceiverStatistics &statistics, qint64 timestampMs);

/// Writes \a json to the signal file, whole or not at all, in "Tarvoline" below the temporary directory and in the
/// host's local data directory. A directory that cannot be written is left out without a word.
void writeStatisticsFile(const QByteArray &json);
