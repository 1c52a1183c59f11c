// SPDX-License-Identifier: GPL-2.0-or-later
// The SRT listener is absent, starts, stops and restarts.
#include "enginefixture.h"
#include "udpreading.h"

#include <QCoreApplication>
#include <QOperatingSystemVersion>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

class TestSrtlaEngineListener : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void listenerStartsLate();
    void listenerRestarts();
    void portUnreachableIsLoggedOnce();
    void repliesAfterAnErrorAreRead();
    void errorDuringReadyReadDoesNotStopReading();

private:
    void startListener();
    void stopListener() { listener.reset(); }
    bool reachesListener(const QByteArray &packet);
    bool streamFlows();
    QByteArray nextReply();
    void sendToClosedPort();
    bool eachErrorIsLoggedOnce();

    std::unique_ptr<SrtlaEngine> engine;
    std::unique_ptr<Peer> link;
    std::unique_ptr<Peer> listener;
    quint16 enginePort = 0;
    quint16 listenerPort = 0;
    quint32 sequence = 0;
    int errors = 0; ///< emitted by the group's socket
    QStringList errorLines;
    SrtlaEngine::SrtSocket *socket = nullptr;
    qintptr descriptor = -1;
};

void TestSrtlaEngineListener::init()
{
    errors = 0;
    errorLines.clear();
    listenerPort = Peer().socket.localPort(); // free again, without a listener
    engine = std::make_unique<SrtlaEngine>();
    link = std::make_unique<Peer>();
    QVERIFY(engine->start(0, QHostAddress(QHostAddress::LocalHost), listenerPort));
    const EngineProbe probe{*engine};
    enginePort = probe.clientSocket().localPort();
    link->send(reg1(idProposal('a')), enginePort);
    const QByteArray id = link->receive().sliced(2);
    link->send(reg2(id), enginePort);
    QCOMPARE(link->receive(), reg3);
    const SrtlaGroup *const group = probe.group(id);

    link->send(srtData(sequence), enginePort); // there is no listener yet
    QTRY_VERIFY_WITH_TIMEOUT(group->srtSocket, waitMs);
    socket = group->srtSocket.get();
    descriptor = socket->socketDescriptor();
    connect(socket, &QAbstractSocket::errorOccurred, this, [this] { ++errors; });
    connect(engine.get(), &SrtlaEngine::logMessage, this, [this](const QString &line) {
        if (line.startsWith(u"SRT | Gruppe 616263646566: ")) {
            errorLines.append(line);
        }
    });
}

void TestSrtlaEngineListener::cleanup()
{
    engine.reset();
    link.reset();
    listener.reset();
}

void TestSrtlaEngineListener::startListener()
{
    listener = std::make_unique<Peer>(listenerPort);
}

/// Sends packets, each answered by an ICMP port unreachable, with and without the event loop in between.
void TestSrtlaEngineListener::sendToClosedPort()
{
    for (int burst = 1; burst <= 20; ++burst) {
        for (int i = 0; i < burst; ++i) {
            link->send(srtData(++sequence), enginePort);
        }
        QCoreApplication::processEvents();
    }
}

/// Whether each error that the group's socket has emitted, plus one emitted here, was logged once. Which errors Qt
/// emits depends on the system; on Linux the reads and writes of this test cause none.
bool TestSrtlaEngineListener::eachErrorIsLoggedOnce()
{
    Q_EMIT socket->errorOccurred(QAbstractSocket::ConnectionRefusedError);
    return errors > 0 && errorLines.size() == errors;
}

/// The next datagram from the listener, without the SRTLA ACKs.
QByteArray TestSrtlaEngineListener::nextReply()
{
    // On Windows a reply after an error may be read only at the sender's next packet.
    const bool isWindows = QOperatingSystemVersion::currentType() == QOperatingSystemVersion::Windows;
    QByteArray received;
    do {
        if (isWindows && !QTest::qWaitFor(
                             [this] {
                                 link->send(srtData(++sequence), enginePort);
                                 return link->socket.hasPendingDatagrams();
                             },
                             waitMs)) {
            return {};
        }
        received = link->receive();
    } while (received.startsWith(QByteArray::fromHex("9100")));
    return received;
}

/// Whether \a packet arrives at the listener, possibly after other packets.
bool TestSrtlaEngineListener::reachesListener(const QByteArray &packet)
{
    QByteArray received;
    do {
        received = listener->receive();
    } while (!received.isNull() && received != packet);
    return received == packet;
}

/// Whether packets and replies pass; pending errors may cost some packets first.
bool TestSrtlaEngineListener::streamFlows()
{
    const bool reached = QTest::qWaitFor(
        [this] {
            link->send(srtData(++sequence), enginePort);
            return listener->socket.hasPendingDatagrams();
        },
        waitMs);
    if (!reached) {
        return false;
    }
    if (!reachesListener(srtData(sequence))) {
        return false;
    }
    for (int round = 0; round < 50; ++round) {
        const QByteArray packet = srtData(++sequence);
        link->send(packet, enginePort);
        if (!reachesListener(packet)) {
            return false;
        }
        const QByteArray reply = typed(0x8003, 20 + round); // distinguished by their lengths
        listener->send(reply, socket->localPort());
        if (nextReply() != reply) {
            return false;
        }
    }
    return true;
}

void TestSrtlaEngineListener::listenerStartsLate()
{
    sendToClosedPort();
    startListener();
    QVERIFY(streamFlows());
    QCOMPARE(socket->socketDescriptor(), descriptor);
    QVERIFY(eachErrorIsLoggedOnce());
}

void TestSrtlaEngineListener::listenerRestarts()
{
    for (int round = 0; round < 5; ++round) {
        startListener();
        QVERIFY(streamFlows());
        stopListener();
        sendToClosedPort();
    }
    startListener();
    QVERIFY(streamFlows());
    QCOMPARE(socket->socketDescriptor(), descriptor);
    QVERIFY(eachErrorIsLoggedOnce());
}

void TestSrtlaEngineListener::portUnreachableIsLoggedOnce()
{
#ifdef Q_OS_WIN
    QSKIP("Wine does not report port unreachable to the socket");
#endif
    QObject scope; // the connection ends with the variables
    int refusals = 0;
    QString text;
    connect(socket, &QAbstractSocket::errorOccurred, &scope, [&](QAbstractSocket::SocketError error) {
        if (error == QAbstractSocket::ConnectionRefusedError) {
            ++refusals;
            text = socket->errorString();
        }
    });
    // The engine calls hasPendingDatagrams() first, which consumes the error on Linux. So read directly after the
    // write.
    const bool refused = QTest::qWaitFor(
        [&] {
            char byte = 0;
            socket->write(srtData(++sequence));
            socket->readDatagram(&byte, 1);
            return refusals > 0;
        },
        waitMs);
    QVERIFY(refused);
    QCOMPARE(refusals, 1);
    QCOMPARE(errorLines.count(u"SRT | Gruppe 616263646566: "_s + text), 1);
    QCOMPARE(errorLines.size(), errors);
    startListener();
    QVERIFY(streamFlows());
    QCOMPARE(socket->socketDescriptor(), descriptor);
}

void TestSrtlaEngineListener::repliesAfterAnErrorAreRead()
{
    for (int round = 0; round < 20; ++round) {
        // Without an event loop iteration a reply and an error are queued on the group's socket.
        startListener();
        listener->send(typed(0x8003, 20), socket->localPort());
        stopListener();
        socket->write(srtData(++sequence));
        QCOMPARE(nextReply(), typed(0x8003, 20));
    }
    startListener();
    QVERIFY(streamFlows());
    QVERIFY(eachErrorIsLoggedOnce());
}

void TestSrtlaEngineListener::errorDuringReadyReadDoesNotStopReading()
{
    QUdpSocket reader;
    auto peer = std::make_unique<Peer>();
    reader.connectToHost(QHostAddress(QHostAddress::LocalHost), peer->socket.localPort());
    QByteArrayList received;
    QByteArray buffer = SpareBuffer().take();
    connect(&reader, &QIODevice::readyRead, this, [&] {
        if (peer) {
            // An error arrives after Qt's notification for the datagram.
            peer.reset();
            reader.write("answered by port unreachable");
        }
        drainDatagrams(
            reader, buffer.data(), [] { return false; },
            [&](const QByteArray &datagram) { received.append(QByteArray(datagram.data(), datagram.size())); });
    });
    peer->send("after the error", reader.localPort());
    QTRY_COMPARE_WITH_TIMEOUT(received, QByteArrayList{"after the error"}, waitMs);
}

QTEST_GUILESS_MAIN(TestSrtlaEngineListener)
#include "tst_srtlaengine_listener.moc"
