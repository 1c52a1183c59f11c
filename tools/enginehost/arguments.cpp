// SPDX-License-Identifier: GPL-2.0-or-later
#include "arguments.h"

using namespace Qt::StringLiterals;

const char *const usageText =
    "usage: enginehost --listen PORT --target-port PORT [--target ADDRESS]\n"
    "\n"
    "Receives bonded SRTLA senders on UDP port --listen and forwards them to the SRT listener\n"
    "at ADDRESS (127.0.0.1) and --target-port. Each signal of the engine is written as one\n"
    "JSON object per line to standard output. SIGINT and SIGTERM end it.\n";

namespace {

std::optional<quint16> parsePort(const QString &word)
{
    bool isNumber = false;
    const quint16 port = word.toUShort(&isNumber);
    return isNumber && port != 0 ? std::optional(port) : std::nullopt;
}

} // namespace

std::optional<Arguments> parseArguments(const QStringList &words)
{
    std::optional<quint16> listenPort;
    std::optional<quint16> targetPort;
    Arguments arguments;
    for (qsizetype at = 0; at < words.size(); at += 2) {
        if (at + 1 == words.size()) {
            return std::nullopt;
        }
        const QString &name = words[at];
        const QString &value = words[at + 1];
        if (name == "--listen"_L1) {
            listenPort = parsePort(value);
        } else if (name == "--target-port"_L1) {
            targetPort = parsePort(value);
        } else if (name != "--target"_L1 || !arguments.target.setAddress(value) ||
                   arguments.target.protocol() != QAbstractSocket::IPv4Protocol) {
            return std::nullopt;
        }
    }
    if (!listenPort || !targetPort) {
        return std::nullopt;
    }
    arguments.listenPort = *listenPort;
    arguments.targetPort = *targetPort;
    return arguments;
}
