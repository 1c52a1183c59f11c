// SPDX-License-Identifier: GPL-2.0-or-later
#include "srtlatexts.h"

#include "srtlaengine.h"
#include "srtlapackets.h"

// All placeholders of a text are filled in one call of arg, so that a "%1" in an error text is not replaced.

namespace SrtlaTexts {

QString running(quint16 listenPort, const QHostAddress &targetAddress, quint16 targetPort)
{
    return SrtlaEngine::tr("Läuft auf UDP %1 → %2:%3")
        .arg(QString::number(listenPort), targetAddress.toString(), QString::number(targetPort));
}

QString cannotOpen(quint16 listenPort, const QString &socketError)
{
    return SrtlaEngine::tr("UDP %1 konnte nicht geöffnet werden: %2").arg(QString::number(listenPort), socketError);
}

QString stopped()
{
    return SrtlaEngine::tr("Gestoppt");
}

QString started(quint16 listenPort, const QHostAddress &targetAddress, quint16 targetPort)
{
    return SrtlaEngine::tr("START | SRTLA UDP %1 → SRT %2:%3")
        .arg(QString::number(listenPort), targetAddress.toString(), QString::number(targetPort));
}

QString portError(quint16 listenPort, const QString &socketError)
{
    return SrtlaEngine::tr("FEHLER | SRTLA-Port %1: %2").arg(QString::number(listenPort), socketError);
}

QString newGroup(const QByteArray &groupId, const QHostAddress &sender, quint16 senderPort)
{
    return SrtlaEngine::tr("REG1 | Neue Gruppe %1 von %2:%3")
        .arg(shortGroupId(groupId), sender.toString(), QString::number(senderPort));
}

QString pathConnected(const QHostAddress &address, quint16 port, const QByteArray &groupId)
{
    return SrtlaEngine::tr("REG3 | Weg %1:%2 verbunden, Gruppe %3")
        .arg(address.toString(), QString::number(port), shortGroupId(groupId));
}

QString pathTimedOut(const QHostAddress &address, quint16 port)
{
    return SrtlaEngine::tr("TIMEOUT | Weg %1:%2 entfernt").arg(address.toString(), QString::number(port));
}

QString srtSocketCreated(const QByteArray &groupId, const QHostAddress &targetAddress, quint16 targetPort)
{
    return SrtlaEngine::tr("SRT | Gruppe %1 → %2:%3")
        .arg(shortGroupId(groupId), targetAddress.toString(), QString::number(targetPort));
}

QString srtSocketError(const QByteArray &groupId, const QString &socketError)
{
    return SrtlaEngine::tr("SRT | Gruppe %1: %2").arg(shortGroupId(groupId), socketError);
}

QString noSocketLeft()
{
    return SrtlaEngine::tr("zu viele offene Dateien, Pakete werden verworfen");
}

QString groupRemoved(const QByteArray &groupId, const QString &reason)
{
    return SrtlaEngine::tr("GRUPPE | %1 entfernt: %2").arg(shortGroupId(groupId), reason);
}

QString reasonTimeout()
{
    return SrtlaEngine::tr("Timeout");
}

QString reasonStopped()
{
    return SrtlaEngine::tr("Receiver gestoppt");
}

QString reasonNewSession()
{
    return SrtlaEngine::tr("Neue Sitzung desselben Senders");
}

QString reasonReRegistration()
{
    return SrtlaEngine::tr("Neu-Registrierung");
}

} // namespace SrtlaTexts
