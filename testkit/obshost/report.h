// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once
#include <QJsonObject>

#include <cstdarg>

/// Writes \a members and the member "event" as one line of JSON to standard output. Any thread may call it.
void report(const char *event, QJsonObject members = {});

/// A log handler for libobs: each line becomes an event "obsLog" with the line in "line".
void reportObsLog(int level, const char *format, va_list arguments, void *);
