// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QHostAddress>
#include <QStringList>

#include <optional>

/// What the engine host is told on its command line.
struct Arguments
{
    quint16 listenPort = 0;
    quint16 targetPort = 0;
    QHostAddress target = QHostAddress(QHostAddress::LocalHost);
};

/// The command line in words.
extern const char *const usageText;

/// Reads the command line (without the program's name); nothing if anything in it is wrong or missing, also if a later
/// argument says the same right. Ports are decimal numbers from 1 to 65535, the target is an IPv4 address in four
/// parts.
[[nodiscard]] std::optional<Arguments> parseArguments(const QStringList &words);
