// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "engineprobe.h"

#include <QByteArray>
#include <QHostAddress>
#include <QStringList>
#include <QUdpSocket>

#include <initializer_list>
#include <optional>

/// How long a test waits for what has to come: ample even on a busy machine.
inline constexpr int ampleMs = 30000;

// The tests' own packets, sharing nothing with the engine's, so that a mistake there cannot cancel itself out.

QByteArray bigEndian16(quint16 value);
QByteArray bigEndian32(quint32 value);
/// 256 id bytes that begin with \a seed and go on with a pattern made from it.
QByteArray idProposal(char seed);
QByteArray reg1(const QByteArray &proposal);
QByteArray reg2(const QByteArray &groupId);
/// \a size bytes that begin with \a type; what follows is a pattern without meaning.
QByteArray typed(quint16 type, qsizetype size);
/// An SRT data packet of \a size bytes.
QByteArray srtData(quint32 sequence, qsizetype size = 64);
/// An SRT handshake, the control packet that opens a connection.
QByteArray srtHandshake();
inline const QByteArray reg3 = QByteArray::fromHex("9202");
inline const QByteArray regErr = QByteArray::fromHex("9210");
inline const QByteArray regNgp = QByteArray::fromHex("9211");
/// The SRTLA ACK that ten sequence numbers make.
QByteArray srtlaAck(const QList<quint32> &sequences);

/// An engine whose clock the test sets.
class ClockedEngine : public SrtlaEngine
{
public:
    std::optional<qint64> setMs; ///< unset: the real clock

protected:
    qint64 nowMs() const override { return setMs ? *setMs : SrtlaEngine::nowMs(); }
};

/// Every signal of an engine as a line of text, in the order of emission.
class SignalRecord : public QObject
{
public:
    explicit SignalRecord(SrtlaEngine &engine);

    QStringList all;      ///< "running …", "status …", "statistics …", "log …"
    QStringList logLines; ///< the log lines alone
};

/// A socket of a sender or of the SRT listener, on loopback.
class Peer
{
public:
    explicit Peer(quint16 port = 0);

    SrtlaEndpoint endpoint() const { return {socket.localAddress(), socket.localPort()}; }
    void send(const QByteArray &datagram, quint16 port);
    /// The next datagram; null when none comes within ampleMs.
    QByteArray receive();

    QUdpSocket socket;
    quint16 lastSenderPort = 0; ///< of the datagram that receive returned last; 0 when none came
};

/// A link of another machine, for datagrams that are handed to the engine: nothing that is sent there arrives.
SrtlaEndpoint remoteLink(quint16 port);

/// A running engine on a port of the system's choice, with an SRT listener beside it. Its timers are stopped unless a
/// test is about them: on a busy machine one may be due in the midst of any test.
class EngineFixture
{
public:
    enum class Timers { Stopped, Running };
    explicit EngineFixture(Timers timers = Timers::Stopped);

    quint16 port() const { return probe.clientSocket().localPort(); }
    /// Sends from \a link to the engine.
    void send(Peer &link, const QByteArray &datagram) const { link.send(datagram, port()); }
    /// Sends and returns the answer.
    QByteArray ask(Peer &link, const QByteArray &datagram) const;
    /// REG1 from \a link; returns the id of the new group, empty if the answer was none.
    QByteArray openGroup(Peer &link, char seed = 'a') const;
    /// As REG1 from \a link would, without the answer.
    QByteArray openGroup(const SrtlaEndpoint &link, char seed) const;
    /// REG2 from \a link; returns whether it was registered.
    bool join(Peer &link, const QByteArray &groupId) const;
    /// Opens a group from the first of \a links and registers them all; returns its id, empty if that failed.
    QByteArray connectLinks(std::initializer_list<Peer *> links) const;
    /// Has \a link carry a handshake to the listener; returns the port of the group's socket, 0 if it did not arrive.
    quint16 carryHandshake(Peer &link);
    /// Asks something whose answer is known: whatever \a link sent before has been handled when it comes, and an answer
    /// to it would have come first. Returns whether the known answer came first.
    bool nothingAnswered(Peer &link) const;
    /// Forwards a known packet over \a link and returns whether it is the first that the listener sees.
    bool nothingForwarded(Peer &link);
    /// Sends to the group's socket, as the SRT listener that has seen traffic from \a srtPort.
    void reply(const QByteArray &datagram, quint16 srtPort) { listener.send(datagram, srtPort); }
    /// The port of a group's SRT socket; 0 when it has none.
    quint16 srtPort(const QByteArray &groupId) const;

    ClockedEngine engine;
    EngineProbe probe{engine};
    SignalRecord record{engine};
    Peer listener;
};
