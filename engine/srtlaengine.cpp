// SPDX-License-Identifier: GPL-2.0-or-later
// Construction, start, stop and shutdown.
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
    // By default Qt uses the proxy of the system or of OBS; with SOCKS5 it would bind the port there.
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
    if (shuttingDown) {
        return false;
    }
    const quint64 call = ++latestCall;
    if (isRunning()) {
        endSession(call);
        if (call != latestCall) {
            return isRunning();
        }
    }
    targetAddress = newTargetAddress;
    listenPort = newListenPort;
    targetPort = newTargetPort;
    return bindExclusively(clientSocket, listenPort) ? beginSession(call) : reportBindError(call);
}

bool SrtlaEngine::beginSession(quint64 call)
{
    enlargeReceiveBuffer(clientSocket);
    clock.start();
    receivedPackets = 0;
    receivedBytes = 0;
    lastPublishedBytes = 0;
    lastPublishedMs = 0;
    cleanupTimer.start();
    statisticsTimer.start();
    Q_EMIT runningChanged(true);
    if (call == latestCall) {
        Q_EMIT statusChanged(SrtlaTexts::running(listenPort, targetAddress, targetPort));
    }
    if (call == latestCall) {
        Q_EMIT logMessage(SrtlaTexts::started(listenPort, targetAddress, targetPort));
    }
    return isRunning();
}

bool SrtlaEngine::reportBindError(quint64 call)
{
    const QString error = clientSocket.errorString();
    Q_EMIT statusChanged(SrtlaTexts::cannotOpen(listenPort, error));
    if (call == latestCall) {
        Q_EMIT logMessage(SrtlaTexts::portError(listenPort, error));
    }
    if (call == latestCall) {
        listenPort = 0;
    }
    return isRunning();
}

void SrtlaEngine::stop()
{
    if (!shuttingDown) {
        endSession(++latestCall);
    }
}

void SrtlaEngine::endSession(quint64 call)
{
    cleanupTimer.stop();
    statisticsTimer.stop();
    removeAllGroups(SrtlaTexts::reasonStopped());
    if (call != latestCall) {
        return;
    }
    clientSocket.close();
    // Senders may have registered in an event loop that a slot ran during the removals.
    removeAllGroups(SrtlaTexts::reasonStopped());
    if (call != latestCall) {
        return;
    }
    listenPort = 0;
    targetPort = 0;
    Q_EMIT runningChanged(false);
    if (call == latestCall) {
        Q_EMIT statusChanged(SrtlaTexts::stopped());
    }
    if (call == latestCall) {
        Q_EMIT statisticsChanged(0, 0, 0.0, receivedPackets, receivedBytes);
    }
}

void SrtlaEngine::shutdown()
{
    if (shuttingDown) {
        return;
    }
    shuttingDown = true;
    ++latestCall;
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
