// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QtTypes>

class QUdpSocket;

/// Asked of the system for every socket that carries a stream. The engine shares a thread with a user interface that
/// can stall: one second of 20 Mbit/s is 2.5 MB of payload, and the system's bookkeeping per datagram doubles that.
inline constexpr int wantedReceiveBufferBytes = 8 * 1024 * 1024;

/// Asks for wantedReceiveBufferBytes on an open socket; the system may grant less and doesn't say so.
void enlargeReceiveBuffer(QUdpSocket &socket);

/// Binds the closed \a socket to \a port of every local IPv4 address so that the port is in fact this socket's alone:
/// fails when any other socket holds it, one that shares included, and keeps later ones out. On failure the result is
/// false and the socket's errorString says why. 0 lets the system choose a port. ICMP errors that the socket's own
/// datagrams cause do not come up when it is read.
[[nodiscard]] bool bindExclusively(QUdpSocket &socket, quint16 port);

/// Whether a socket that an ICMP error was reported on is sure to signal readyRead for the datagrams that come later.
[[nodiscard]] bool signalsOutliveErrors();
