// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QtTypes>

class QUdpSocket;

/// Requested receive buffer of every socket that carries a stream. The user interface in the same thread can stall: one
/// second of 20 Mbit/s is 2.5 MB of payload, and the system's overhead per datagram doubles that.
inline constexpr int wantedReceiveBufferBytes = 8 * 1024 * 1024;

/// Requests wantedReceiveBufferBytes for an open socket. The system may grant less without an error.
void enlargeReceiveBuffer(QUdpSocket &socket);

/// Binds the closed \a socket exclusively to \a port of every local IPv4 address: fails when another socket is bound to
/// the port, even one that shares its address, and prevents later binds. Port 0 lets the system choose. On failure the
/// result is false and the socket's errorString has the reason. ICMP errors caused by the socket's own datagrams are
/// not reported by reads.
[[nodiscard]] bool bindExclusively(QUdpSocket &socket, quint16 port);

/// Whether a socket emits readyRead for datagrams that arrive after an ICMP error was reported on it.
[[nodiscard]] bool readyReadSurvivesIcmpError();
