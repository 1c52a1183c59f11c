// SPDX-License-Identifier: GPL-2.0-or-later
#include "arguments.h"

#include <algorithm>

using namespace Qt::StringLiterals;

const char *const usageText =
    "usage: enginehost --listen PORT --target-port PORT [--target ADDRESS]\n"
    "\n"
    "Receives bonded SRTLA senders on UDP port --listen and forwards them to the SRT listener\n"
    "at ADDRESS (default: 127.0.0.1) and --target-port. Prints each signal of the engine as\n"
    "one line of JSON. SIGINT and SIGTERM end the program.\n";

namespace {

// Qt's conversion accepts signs and spaces, so only digits are allowed.
bool readPort(const QString &word, quint16 &port)
{
    const bool onlyDigits = std::ranges::all_of(word, [](QChar unit) { return unit >= u'0' && unit <= u'9'; });
    port = word.toUShort();
    return onlyDigits && port != 0;
}

// Qt's conversion accepts surrounding spaces and fewer than four numbers, so the address must equal its normal form.
bool readTarget(const QString &word, QHostAddress &target)
{
    return target.setAddress(word) && target.protocol() == QAbstractSocket::IPv4Protocol && target.toString() == word;
}

bool readArgument(const QString &name, const QString &value, Arguments &arguments)
{
    return (name == "--listen"_L1 && readPort(value, arguments.listenPort)) ||
           (name == "--target-port"_L1 && readPort(value, arguments.targetPort)) ||
           (name == "--target"_L1 && readTarget(value, arguments.target));
}

} // namespace

std::optional<Arguments> parseArguments(const QStringList &words)
{
    Arguments arguments;
    for (qsizetype at = 0; at < words.size(); at += 2) {
        if (at + 1 == words.size() || !readArgument(words[at], words[at + 1], arguments)) {
            return std::nullopt;
        }
    }
    if (arguments.listenPort == 0 || arguments.targetPort == 0) {
        return std::nullopt; // missing
    }
    return arguments;
}
