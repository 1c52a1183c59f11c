// SPDX-License-Identifier: GPL-2.0-or-later
// The SRT listener isn't there, comes, goes away and comes back.
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
    void theListenerAppearsLate();
    void theListenerGoesAndComesBack();
    void aPortUnreachableIsOneLogLine();
    void repliesBehindAnErrorAreRead();
    void anErrorDuringANotificationDoesNotEndTheReading();

private:
    void arrive();
    void leave() { listener.reset(); }
    bool reachesListener(const QByteArray &packet);
    bool streamFlows();
    QByteArray nextReply();
    void sendIntoTheVoid();
    bool logsEachErrorOnce();

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
    listenerPort = Peer().socket.localPort(); // free again, and nobody answers there
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

    link->send(srtData(sequence), enginePort); // the first one goes nowhere
    QTRY_VERIFY_WITH_TIMEOUT(group->srtSocket, ampleMs);
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

void TestSrtlaEngineListener::arrive()
{
    listener = std::make_unique<Peer>(listenerPort);
}

/// Sends packets, each answered by an ICMP port unreachable, with and without the event loop in between.
void TestSrtlaEngineListener::sendIntoTheVoid()
{
    for (int burst = 1; burst <= 20; ++burst) {
        for (int i = 0; i < burst; ++i) {
            link->send(srtData(++sequence), enginePort);
        }
        QCoreApplication::processEvents();
    }
}

/// Whether each error that the group's socket has emitted so far, and one more, stands in the log once. Which of the
/// system's errors Qt emits differs; on Linux it is none of those that reading and sending run into here.
bool TestSrtlaEngineListener::logsEachErrorOnce()
{
    Q_EMIT socket->errorOccurred(QAbstractSocket::ConnectionRefusedError);
    return errors > 0 && errorLines.size() == errors;
}

/// The next datagram from the listener, past the acknowledgements of the data.
QByteArray TestSrtlaEngineListener::nextReply()
{
    // There a reply behind an error is signalled for certain only by the sender's next packet.
    const bool isWindows = QOperatingSystemVersion::currentType() == QOperatingSystemVersion::Windows;
    QByteArray received;
    do {
        if (isWindows && !QTest::qWaitFor(
                             [this] {
                                 link->send(srtData(++sequence), enginePort);
                                 return link->socket.hasPendingDatagrams();
                             },
                             ampleMs)) {
            return {};
        }
        received = link->receive();
    } while (received.startsWith(QByteArray::fromHex("9100")));
    return received;
}

/// Whether \a packet arrives, behind others or not.
bool TestSrtlaEngineListener::reachesListener(const QByteArray &packet)
{
    QByteArray received;
    do {
        received = listener->receive();
    } while (!received.isNull() && received != packet);
    return received == packet;
}

/// Whether packets and replies pass, after the packets that pending errors may cost.
bool TestSrtlaEngineListener::streamFlows()
{
    const bool reached = QTest::qWaitFor(
        [this] {
            link->send(srtData(++sequence), enginePort);
            return listener->socket.hasPendingDatagrams();
        },
        ampleMs);
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
        const QByteArray reply = typed(0x8003, 20 + round); // told apart by their lengths
        listener->send(reply, socket->localPort());
        if (nextReply() != reply) {
            return false;
        }
    }
    return true;
}

void TestSrtlaEngineListener::theListenerAppearsLate()
{
    sendIntoTheVoid();
    arrive();
    QVERIFY(streamFlows());
    QCOMPARE(socket->socketDescriptor(), descriptor);
    QVERIFY(logsEachErrorOnce());
}

void TestSrtlaEngineListener::theListenerGoesAndComesBack()
{
    for (int round = 0; round < 5; ++round) {
        arrive();
        QVERIFY(streamFlows());
        leave();
        sendIntoTheVoid();
    }
    arrive();
    QVERIFY(streamFlows());
    QCOMPARE(socket->socketDescriptor(), descriptor);
    QVERIFY(logsEachErrorOnce());
}

void TestSrtlaEngineListener::aPortUnreachableIsOneLogLine()
{
#ifdef Q_OS_WIN
    QSKIP("Wine reports no port unreachable to the socket that caused it");
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
    // The engine's own reading asks first whether there is something to read, and on Linux that question takes the
    // error off the socket. So read at once what the packet has brought back.
    const bool refused = QTest::qWaitFor(
        [&] {
            char byte = 0;
            socket->write(srtData(++sequence));
            socket->readDatagram(&byte, 1);
            return refusals > 0;
        },
        ampleMs);
    QVERIFY(refused);
    QCOMPARE(refusals, 1);
    QCOMPARE(errorLines.count(u"SRT | Gruppe 616263646566: "_s + text), 1);
    QCOMPARE(errorLines.size(), errors);
    arrive();
    QVERIFY(streamFlows());
    QCOMPARE(socket->socketDescriptor(), descriptor);
}

void TestSrtlaEngineListener::repliesBehindAnErrorAreRead()
{
    for (int round = 0; round < 20; ++round) {
        // While the thread doesn't return to its event loop, a reply and an error pile up on the group's socket.
        arrive();
        listener->send(typed(0x8003, 20), socket->localPort());
        leave();
        socket->write(srtData(++sequence));
        QCOMPARE(nextReply(), typed(0x8003, 20));
    }
    arrive();
    QVERIFY(streamFlows());
    QVERIFY(logsEachErrorOnce());
}

void TestSrtlaEngineListener::anErrorDuringANotificationDoesNotEndTheReading()
{
    QUdpSocket reader;
    auto peer = std::make_unique<Peer>();
    reader.connectToHost(QHostAddress(QHostAddress::LocalHost), peer->socket.localPort());
    QByteArrayList received;
    QByteArray buffer = SpareBuffer().take();
    connect(&reader, &QIODevice::readyRead, this, [&] {
        if (peer) {
            // Qt has seen the datagram, and now an error comes in between.
            peer.reset();
            reader.write("answered by port unreachable");
        }
        drainDatagrams(
            reader, buffer.data(), [] { return false; },
            [&](const QByteArray &datagram) { received.append(QByteArray(datagram.data(), datagram.size())); });
    });
    peer->send("behind the error", reader.localPort());
    QTRY_COMPARE_WITH_TIMEOUT(received, QByteArrayList{"behind the error"}, ampleMs);
}

QTEST_GUILESS_MAIN(TestSrtlaEngineListener)
#include "tst_srtlaengine_listener.moc"
