// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QHostAddress>
#include <QStringList>

#include <optional>

/// Command line of the engine host.
struct Arguments
{
    quint16 listenPort = 0;
    quint16 targetPort = 0;
    QHostAddress target = QHostAddress(QHostAddress::LocalHost);
};

/// Usage text.
extern const char *const usageText;

/// Parses the command line (without the program name); empty if an argument is invalid, also if a valid one follows, or
/// if a port is missing. Ports are decimal numbers from 1 to 65535, the target is an IPv4 address in four parts.
[[nodiscard]] std::optional<Arguments> parseArguments(const QStringList &words);
