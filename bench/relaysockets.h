// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

class QUdpSocket;

/// Opens the two sockets of a relay with the arguments LISTEN_PORT TARGET_PORT: \a client receives on every local IPv4
/// address, \a target is connected to loopback. Both request the same receive buffer as the engine. On failure the
/// result is false and the reason is printed to standard error.
bool openRelaySockets(int argc, char **argv, QUdpSocket &client, QUdpSocket &target);
