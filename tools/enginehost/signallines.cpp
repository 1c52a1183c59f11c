// SPDX-License-Identifier: GPL-2.0-or-later
#include "signallines.h"

#include "srtlaengine.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <cstdio>

namespace {

/// A JSON value as text.
QByteArray json(const QString &text)
{
    QByteArray object = QJsonDocument(QJsonObject{{QStringLiteral("x"), text}}).toJson(QJsonDocument::Compact);
    constexpr qsizetype beforeValue = 5; // {"x":
    return object.sliced(beforeValue).chopped(1);
}

QByteArray json(bool value)
{
    return value ? "true" : "false";
}

QByteArray json(double value)
{
    // Shortest unique representation; JSON has no infinities.
    return std::isfinite(value) ? QByteArray::number(value, 'g', QLocale::FloatingPointShortest) : "null";
}

void writeLine(const QByteArray &line)
{
    std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), stdout);
    std::fflush(stdout);
}

} // namespace

void writeSignalLines(SrtlaEngine &engine)
{
    QObject::connect(&engine, &SrtlaEngine::runningChanged, &engine, [](bool running) {
        writeLine(R"({"signal":"runningChanged","running":)" + json(running) + "}\n");
    });
    QObject::connect(&engine, &SrtlaEngine::statusChanged, &engine, [](const QString &text) {
        writeLine(R"({"signal":"statusChanged","text":)" + json(text) + "}\n");
    });
    QObject::connect(&engine, &SrtlaEngine::logMessage, &engine,
                     [](const QString &line) { writeLine(R"({"signal":"logMessage","line":)" + json(line) + "}\n"); });
    // Without QJsonObject, which sorts keys and stores totals beyond 2^63 as doubles.
    QObject::connect(&engine, &SrtlaEngine::statisticsChanged, &engine,
                     [](int groups, int paths, double megabitsPerSecond, quint64 packets, quint64 bytes) {
                         writeLine(R"({"signal":"statisticsChanged","groups":)" + QByteArray::number(groups) +
                                   R"(,"paths":)" + QByteArray::number(paths) + R"(,"megabitsPerSecond":)" +
                                   json(megabitsPerSecond) + R"(,"packets":)" + QByteArray::number(packets) +
                                   R"(,"bytes":)" + QByteArray::number(bytes) + "}\n");
                     });
}
