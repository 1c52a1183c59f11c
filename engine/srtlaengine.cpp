// SPDX-License-Identifier: GPL-2.0-or-later
// The engine's life: construction, start, stop and teardown.
#include "srtlaengine.h"

#include "srtlatexts.h"
#include "udpport.h"

#include <QNetworkProxy>

namespace {

constexpr int cleanupIntervalMs = 2000;
constexpr int statisticsIntervalMs = 1000;

} // namespace

SrtlaEngine::SrtlaEngine(QObject *parent) : QObject(parent), targetAddress(QHostAddress::LocalHost)
{
    // Otherwise Qt looks for a proxy of the system or of OBS, and binds the port there if it is one for SOCKS5. To
    // reach a listener on this machine it asks nobody.
    clientSocket.setProxy(QNetworkProxy::NoProxy);
    connect(&clientSocket, &QUdpSocket::readyRead, this, &SrtlaEngine::readClientDatagrams);
    connect(&cleanupTimer, &QTimer::timeout, this, &SrtlaEngine::cleanupSessions);
    connect(&statisticsTimer, &QTimer::timeout, this, &SrtlaEngine::publishStatistics);
    cleanupTimer.setInterval(cleanupIntervalMs);
    statisticsTimer.setInterval(statisticsIntervalMs);
}

SrtlaEngine::~SrtlaEngine()
{
    shutdown();
}

bool SrtlaEngine::start(quint16 newListenPort, const QHostAddress &newTargetAddress, quint16 newTargetPort)
{
    if (isRunning()) {
        stop();
    }
    targetAddress = newTargetAddress;
    listenPort = newListenPort;
    targetPort = newTargetPort;

    if (!bindExclusively(clientSocket, listenPort)) {
        const QString error = clientSocket.errorString();
        Q_EMIT statusChanged(SrtlaTexts::cannotOpen(newListenPort, error));
        Q_EMIT logMessage(SrtlaTexts::portError(newListenPort, error));
        listenPort = 0;
        return false;
    }
    enlargeReceiveBuffer(clientSocket);
    clock.start();
    receivedPackets = 0;
    receivedBytes = 0;
    lastPublishedBytes = 0;
    lastPublishedMs = 0;
    cleanupTimer.start();
    statisticsTimer.start();
    Q_EMIT runningChanged(true);
    Q_EMIT statusChanged(SrtlaTexts::running(newListenPort, newTargetAddress, newTargetPort));
    Q_EMIT logMessage(SrtlaTexts::started(newListenPort, newTargetAddress, newTargetPort));
    return true;
}

void SrtlaEngine::stop()
{
    if (shuttingDown) {
        return;
    }
    cleanupTimer.stop();
    statisticsTimer.stop();
    removeAllGroups(SrtlaTexts::reasonStopped());
    if (shuttingDown) {
        return; // a slot that heard of a removal saw to the rest, and nothing is told any more
    }
    clientSocket.close();
    listenPort = 0;
    targetPort = 0;
    Q_EMIT runningChanged(false);
    Q_EMIT statusChanged(SrtlaTexts::stopped());
    Q_EMIT statisticsChanged(0, 0, 0.0, receivedPackets, receivedBytes);
}

void SrtlaEngine::shutdown()
{
    if (shuttingDown) {
        return;
    }
    shuttingDown = true;
    for (QTimer *timer : {&cleanupTimer, &statisticsTimer}) {
        timer->stop();
        timer->blockSignals(true);
        disconnect(timer, nullptr, this, nullptr);
    }
    clientSocket.blockSignals(true);
    disconnect(&clientSocket, nullptr, this, nullptr);
    clientSocket.abort();
    clientSocket.close();
    dropAllGroups();
    listenPort = 0;
    targetPort = 0;
}

bool SrtlaEngine::isRunning() const
{
    return clientSocket.state() == QAbstractSocket::BoundState;
}

qint64 SrtlaEngine::nowMs() const
{
    return clock.isValid() ? clock.elapsed() : 0;
}
