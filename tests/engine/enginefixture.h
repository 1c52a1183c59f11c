// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "engineprobe.h"
#include "testkit/timelimits.h"

#include <QByteArray>
#include <QHostAddress>
#include <QStringList>
#include <QUdpSocket>

#include <initializer_list>
#include <optional>

// Packets for the tests, independent of the engine's functions, so that errors there are not compensated.

QByteArray bigEndian16(quint16 value);
QByteArray bigEndian32(quint32 value);
/// 256 id bytes: \a seed, seed + 1, …
QByteArray idProposal(char seed);
QByteArray reg1(const QByteArray &proposal);
QByteArray reg2(const QByteArray &groupId);
/// \a size bytes that begin with \a type, followed by a fixed pattern.
QByteArray typed(quint16 type, qsizetype size);
/// An SRT data packet of \a size bytes.
QByteArray srtData(quint32 sequence, qsizetype size = 64);
/// An SRT handshake, the control packet that opens a connection.
QByteArray srtHandshake();
inline const QByteArray reg3 = QByteArray::fromHex("9202");
inline const QByteArray regErr = QByteArray::fromHex("9210");
inline const QByteArray regNgp = QByteArray::fromHex("9211");
/// The SRTLA ACK of ten sequence numbers.
QByteArray srtlaAck(const QList<quint32> &sequences);

/// An engine whose clock the test sets.
class ClockedEngine : public SrtlaEngine
{
public:
    std::optional<qint64> setMs; ///< unset: the real clock

protected:
    qint64 nowMs() const override { return setMs ? *setMs : SrtlaEngine::nowMs(); }
};

/// Records every signal of an engine as a line of text, in the order of emission.
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
    /// The next datagram; null when none arrives within waitMs.
    QByteArray receive();

    QUdpSocket socket;
    quint16 lastSenderPort = 0; ///< of the datagram that receive() returned last; 0 without one
};

/// A link of another machine, for datagrams passed directly to the engine; replies to it do not arrive.
SrtlaEndpoint remoteLink(quint16 port);

/// A running engine on a free port, and a socket in place of the SRT listener. The engine's timers are stopped by
/// default, because on a loaded machine they could fire during any test.
class EngineFixture
{
public:
    enum class Timers { Stopped, Running };
    explicit EngineFixture(Timers timers = Timers::Stopped);

    quint16 port() const { return probe.clientSocket().localPort(); }
    /// Sends from \a link to the engine.
    void send(Peer &link, const QByteArray &datagram) const { link.send(datagram, port()); }
    /// Sends and returns the response.
    QByteArray exchange(Peer &link, const QByteArray &datagram) const;
    /// Sends REG1 from \a link; returns the id of the new group, empty without a valid response.
    QByteArray openGroup(Peer &link, char seed = 'a') const;
    /// Passes a REG1 from \a link to the engine without a socket; returns the id.
    QByteArray openGroup(const SrtlaEndpoint &link, char seed) const;
    /// Sends REG2 from \a link; returns whether it was registered.
    bool join(Peer &link, const QByteArray &groupId) const;
    /// Opens a group from the first of \a links and registers all of them; returns its id, empty on failure.
    QByteArray connectLinks(std::initializer_list<Peer *> links) const;
    /// Sends a handshake over \a link to the listener; returns the port of the group's socket, 0 if it did not arrive.
    quint16 forwardHandshake(Peer &link);
    /// Whether \a link has received nothing for its earlier datagrams: sends a REG2 with an unknown group and returns
    /// whether the first received datagram is the REG_NGP for it.
    bool receivesNothing(Peer &link) const;
    /// Whether no earlier datagram was forwarded: sends a known packet over \a link and returns whether it is the first
    /// that the listener receives.
    bool forwardsNothing(Peer &link);
    /// Sends \a datagram from the SRT listener to the group's socket at \a srtPort.
    void reply(const QByteArray &datagram, quint16 srtPort) { listener.send(datagram, srtPort); }
    /// The port of a group's SRT socket; 0 when it has none.
    quint16 srtPort(const QByteArray &groupId) const;

    ClockedEngine engine;
    EngineProbe probe{engine};
    SignalRecord record{engine};
    Peer listener;
};
