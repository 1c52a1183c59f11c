// SPDX-License-Identifier: GPL-2.0-or-later
// Sockets that something else than the event loop watches signal as before.
#include "socketwatch.h"

#include "enginefixture.h"
#include "udpreading.h"

#include <QSignalSpy>
#include <QTest>

#include <memory>
#include <vector>

namespace {

/// A connected socket that counts what it is told and reads it, as the engine does.
class Watched
{
public:
    explicit Watched(const Peer &peer)
    {
        QObject::connect(&socket, &QUdpSocket::readyRead, &socket, [this] {
            ++signalled;
            drainDatagrams(socket, [this](const QNetworkDatagram &received) { got.append(received.data()); });
        });
        socket.connectToHost(peer.endpoint().address, peer.endpoint().port, QIODevice::ReadWrite);
    }

    QUdpSocket socket;
    QList<QByteArray> got;
    int signalled = 0;
};

QSocketNotifier *readNotifier(const QUdpSocket &socket)
{
    for (QSocketNotifier *notifier : socket.findChildren<QSocketNotifier *>()) {
        if (notifier->type() == QSocketNotifier::Read) {
            return notifier;
        }
    }
    return nullptr;
}

} // namespace

class TestSocketWatch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theEventLoopIsRelievedOfTheSocket();
    void everyDatagramIsSignalled();
    void anUnreachablePeerIsSignalled();
    void manySocketsAreAllTold();
    void aSocketClosedByAnothersHandlerIsNotTold();
    void aDescriptorUsedAgainBelongsToTheNewSocket();
    void socketsOutliveTheWatch();
};

void TestSocketWatch::theEventLoopIsRelievedOfTheSocket()
{
#ifdef Q_OS_WIN
    QSKIP("On Windows the event loop keeps its sockets.");
#endif
    const Peer peer;
    Watched watched(peer);
    QSocketNotifier *const notifier = readNotifier(watched.socket);
    QVERIFY(notifier != nullptr);
    QVERIFY(notifier->isEnabled());
    SocketWatch watch;
    watch.add(watched.socket);
    QVERIFY(!notifier->isEnabled());
    watched.socket.receiveDatagram(); // this turns Qt's notifier on when it has a descriptor
    QVERIFY(!notifier->isEnabled());
}

void TestSocketWatch::everyDatagramIsSignalled()
{
    Peer peer;
    Watched watched(peer);
    SocketWatch watch;
    watch.add(watched.socket);
    for (char text = 'a'; text < 'k'; ++text) {
        peer.send(QByteArray(1, text), watched.socket.localPort());
        QTRY_COMPARE_WITH_TIMEOUT(watched.got.size(), text - 'a' + 1, ampleMs);
        QCOMPARE(watched.got.last(), QByteArray(1, text));
    }
    peer.send(QByteArray(), watched.socket.localPort()); // nothing but a header
    QTRY_COMPARE_WITH_TIMEOUT(watched.got.size(), 11, ampleMs);
    peer.send("after", watched.socket.localPort());
    QTRY_COMPARE_WITH_TIMEOUT(watched.got.size(), 12, ampleMs);
}

void TestSocketWatch::anUnreachablePeerIsSignalled()
{
#ifdef Q_OS_WIN
    QSKIP("On Windows the event loop keeps its sockets, and Wine signals nothing after such an error.");
#endif
    auto peer = std::make_unique<Peer>();
    const quint16 port = peer->endpoint().port;
    Watched watched(*peer);
    SocketWatch watch;
    watch.add(watched.socket);
    peer.reset();
    watched.socket.write("nobody there"); // the system's answer is an error that only reading takes off the socket
    QTRY_VERIFY_WITH_TIMEOUT(watched.signalled > 0, ampleMs);
    Peer back(port);
    back.send("here", watched.socket.localPort());
    QTRY_COMPARE_WITH_TIMEOUT(watched.got, QList<QByteArray>{"here"}, ampleMs);
}

void TestSocketWatch::manySocketsAreAllTold()
{
    constexpr int count = 200; // several turns of the event loop
    Peer peer;
    SocketWatch watch;
    std::vector<std::unique_ptr<Watched>> all;
    for (int i = 0; i < count; ++i) {
        all.push_back(std::make_unique<Watched>(peer));
        watch.add(all.back()->socket);
        peer.send(QByteArray::number(i), all.back()->socket.localPort());
    }
    for (int i = 0; i < count; ++i) {
        const Watched &watched = *all[static_cast<size_t>(i)];
        QTRY_COMPARE_WITH_TIMEOUT(watched.got, QList<QByteArray>{QByteArray::number(i)}, ampleMs);
    }
}

void TestSocketWatch::aSocketClosedByAnothersHandlerIsNotTold()
{
    Peer peer;
    SocketWatch watch;
    Watched first(peer);
    Watched second(peer);
    watch.add(first.socket);
    watch.add(second.socket);
    // Whichever is told first closes the other.
    connect(&first.socket, &QUdpSocket::readyRead, &first.socket, [&] { second.socket.close(); });
    connect(&second.socket, &QUdpSocket::readyRead, &second.socket, [&] { first.socket.close(); });
    const quint16 firstPort = first.socket.localPort();
    const quint16 secondPort = second.socket.localPort();
    peer.send("1", firstPort);
    peer.send("2", secondPort);
    QTRY_COMPARE_WITH_TIMEOUT(first.got.size() + second.got.size(), 1, ampleMs);
    QTest::qWait(0);
    QCOMPARE(first.signalled + second.signalled, 1);
}

void TestSocketWatch::aDescriptorUsedAgainBelongsToTheNewSocket()
{
    Peer peer;
    SocketWatch watch;
    auto first = std::make_unique<Watched>(peer);
    watch.add(first->socket);
    const qintptr descriptor = first->socket.socketDescriptor();
    first.reset();
    Watched second(peer);
#ifndef Q_OS_WIN // the lowest free number is next there
    QCOMPARE(second.socket.socketDescriptor(), descriptor);
#else
    Q_UNUSED(descriptor)
#endif
    watch.add(second.socket);
    peer.send("new", second.socket.localPort());
    QTRY_COMPARE_WITH_TIMEOUT(second.got, QList<QByteArray>{"new"}, ampleMs);
}

void TestSocketWatch::socketsOutliveTheWatch()
{
    const Peer peer;
    Watched watched(peer);
    {
        SocketWatch watch;
        watch.add(watched.socket);
    }
    QCOMPARE(watched.socket.write("still open"), 10);
    watched.socket.close();
}

QTEST_GUILESS_MAIN(TestSocketWatch)
#include "tst_socketwatch.moc"
