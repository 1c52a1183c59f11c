// SPDX-License-Identifier: GPL-2.0-or-later
#include "statisticsfile.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

QByteArray statisticsJson(const ReceiverStatistics &statistics, qint64 timestampMs)
{
    QJsonObject signal;
    signal.insert("product"_L1, u"tarvoline-srtla"_s);
    signal.insert("source"_L1, u"Tarvoline SRTLA"_s);
    signal.insert("timestamp_ms"_L1, static_cast<double>(timestampMs));
    signal.insert("packets"_L1, static_cast<double>(statistics.packets));
    signal.insert("bytes_total"_L1, static_cast<double>(statistics.bytes));
    signal.insert("groups"_L1, statistics.groups);
    signal.insert("paths"_L1, statistics.paths);
    signal.insert("bitrate_mbps"_L1, statistics.megabitsPerSecond);
    return QJsonDocument(signal).toJson(QJsonDocument::Compact);
}

void writeStatisticsFile(const QByteArray &json)
{
    const QString appData = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
    const QString tempDir = QDir(QDir::tempPath()).filePath(u"Tarvoline"_s);
    QDir().mkpath(appData);
    QDir().mkpath(tempDir);
    for (const QString &directory : {tempDir, appData}) {
        QSaveFile file(QDir(directory).filePath(u"tarvoline-srtla-signal.json"_s));
        if (file.open(QIODevice::WriteOnly)) {
            file.write(json);
            file.commit();
        }
    }
}
