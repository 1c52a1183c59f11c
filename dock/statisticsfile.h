// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>
#include <QtGlobal>

/// The parameters of SrtlaEngine::statisticsChanged.
struct ReceiverStatistics
{
    int groups = 0;
    int paths = 0;
    double megabitsPerSecond = 0;
    quint64 packets = 0;
    quint64 bytes = 0;
};

/// Content of the statistics file: one compact JSON object. \a timestampMs counts milliseconds since 1970-01-01 UTC.
QByteArray statisticsJson(const ReceiverStatistics &statistics, qint64 timestampMs);

/// Writes \a json atomically to the statistics file in "Tarvoline" below the temporary directory and in the host's
/// local data directory. A directory that is not writable is skipped without an error.
void writeStatisticsFile(const QByteArray &json);
