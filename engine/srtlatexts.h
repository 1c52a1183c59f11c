// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QString>

/// All texts of the engine, translated in the context "SrtlaEngine". Ports are plain decimal numbers, addresses are
/// formatted by QHostAddress::toString, groups by shortGroupId.
namespace SrtlaTexts {

// Status
[[nodiscard]] QString running(quint16 listenPort, const QHostAddress &targetAddress, quint16 targetPort);
[[nodiscard]] QString cannotOpen(quint16 listenPort, const QString &socketError);
[[nodiscard]] QString stopped();

// Log lines
[[nodiscard]] QString started(quint16 listenPort, const QHostAddress &targetAddress, quint16 targetPort);
[[nodiscard]] QString portError(quint16 listenPort, const QString &socketError);
[[nodiscard]] QString newGroup(const QByteArray &groupId, const QHostAddress &sender, quint16 senderPort);
[[nodiscard]] QString pathConnected(const QHostAddress &address, quint16 port, const QByteArray &groupId);
[[nodiscard]] QString pathTimedOut(const QHostAddress &address, quint16 port);
[[nodiscard]] QString srtSocketCreated(const QByteArray &groupId, const QHostAddress &targetAddress,
                                       quint16 targetPort);
[[nodiscard]] QString srtSocketError(const QByteArray &groupId, const QString &socketError);
/// The socketError for srtSocketError when no file descriptor is available for a group's socket.
[[nodiscard]] QString noSocketLeft();
[[nodiscard]] QString groupRemoved(const QByteArray &groupId, const QString &reason);

// Reasons for the removal of a group
[[nodiscard]] QString reasonTimeout();
[[nodiscard]] QString reasonStopped();
[[nodiscard]] QString reasonNewSession();
[[nodiscard]] QString reasonReRegistration();

} // namespace SrtlaTexts
