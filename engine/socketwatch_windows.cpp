// SPDX-License-Identifier: GPL-2.0-or-later
#include "socketwatch.h"

SocketWatch::SocketWatch() = default;
SocketWatch::~SocketWatch() = default;

void SocketWatch::add(QAbstractSocket & /*socket*/) {}
