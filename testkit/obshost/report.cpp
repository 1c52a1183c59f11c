// SPDX-License-Identifier: GPL-2.0-or-later
#include "report.h"

#include <QJsonDocument>
#include <QMutex>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {
constexpr size_t longestLogLine = 4096;
}

void report(const char *event, QJsonObject members)
{
    members.insert(u"event"_s, QString::fromLatin1(event));
    const QByteArray line = QJsonDocument(members).toJson(QJsonDocument::Compact);
    static QMutex writing;
    const QMutexLocker locker(&writing);
    std::puts(line.constData());
    std::fflush(stdout);
}

void reportObsLog(int, const char *format, va_list arguments, void *)
{
    char text[longestLogLine];
    std::vsnprintf(text, sizeof text, format, arguments);
    report("obsLog", {{u"line"_s, QString::fromUtf8(text)}});
}
