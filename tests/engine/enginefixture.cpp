// SPDX-License-Identifier: GPL-2.0-or-later
#include "enginefixture.h"

#include <QNetworkDatagram>
#include <QTest>
#include <QtEndian>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

QString number(double value)
{
    return QString::number(value, 'g', 17);
}

} // namespace

QByteArray bigEndian16(quint16 value)
{
    QByteArray bytes(2, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray bigEndian32(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray idProposal(char seed)
{
    QByteArray id(256, '\0');
    for (int i = 0; i < id.size(); ++i) {
        id[i] = static_cast<char>(seed + i);
    }
    return id;
}

QByteArray reg1(const QByteArray &proposal)
{
    return QByteArray::fromHex("9200") + proposal;
}

QByteArray reg2(const QByteArray &groupId)
{
    return QByteArray::fromHex("9201") + groupId;
}

QByteArray typed(quint16 type, qsizetype size)
{
    QByteArray datagram = bigEndian16(type);
    for (qsizetype i = datagram.size(); i < size; ++i) {
        datagram.append(static_cast<char>(i));
    }
    return datagram.first(size);
}

QByteArray srtData(quint32 sequence, qsizetype size)
{
    return bigEndian32(sequence) + QByteArray(size - 4, 'd');
}

QByteArray srtHandshake()
{
    return typed(0x8000, 64);
}

QByteArray srtlaAck(const QList<quint32> &sequences)
{
    QByteArray datagram = QByteArray::fromHex("91000000");
    for (const quint32 sequence : sequences) {
        datagram += bigEndian32(sequence);
    }
    return datagram;
}

SignalRecord::SignalRecord(SrtlaEngine &engine)
{
    connect(&engine, &SrtlaEngine::runningChanged, this,
            [this](bool running) { all.append(running ? u"running true"_s : u"running false"_s); });
    connect(&engine, &SrtlaEngine::statusChanged, this,
            [this](const QString &text) { all.append(u"status "_s + text); });
    connect(&engine, &SrtlaEngine::statisticsChanged, this,
            [this](int groups, int paths, double megabitsPerSecond, quint64 packets, quint64 bytes) {
                all.append(u"statistics %1 %2 %3 %4 %5"_s.arg(QString::number(groups), QString::number(paths),
                                                              number(megabitsPerSecond), QString::number(packets),
                                                              QString::number(bytes)));
            });
    connect(&engine, &SrtlaEngine::logMessage, this, [this](const QString &line) {
        all.append(u"log "_s + line);
        logLines.append(line);
    });
}

Peer::Peer(quint16 port)
{
    if (!socket.bind(QHostAddress::LocalHost, port)) {
        qFatal("no socket on loopback: %s", qPrintable(socket.errorString()));
    }
}

void Peer::send(const QByteArray &datagram, quint16 port)
{
    if (socket.writeDatagram(datagram, QHostAddress::LocalHost, port) != datagram.size()) {
        qFatal("cannot send on loopback: %s", qPrintable(socket.errorString()));
    }
}

QByteArray Peer::receive()
{
    lastSenderPort = 0;
    if (!QTest::qWaitFor([this] { return socket.hasPendingDatagrams(); }, waitMs)) {
        return {};
    }
    const QNetworkDatagram received = socket.receiveDatagram();
    lastSenderPort = static_cast<quint16>(received.senderPort());
    return received.data();
}

SrtlaEndpoint remoteLink(quint16 port)
{
    return {QHostAddress(u"192.0.2.7"_s), port}; // TEST-NET-1 (RFC 5737)
}

EngineFixture::EngineFixture(Timers timers)
{
    // Port 0 lets the system choose.
    if (!engine.start(0, QHostAddress(QHostAddress::LocalHost), listener.socket.localPort())) {
        qFatal("the engine does not start: %s", qPrintable(record.all.join(u'\n')));
    }
    if (timers == Timers::Stopped) {
        probe.cleanupTimer().stop();
        probe.statisticsTimer().stop();
    }
    record.all.clear();
    record.logLines.clear();
}

QByteArray EngineFixture::exchange(Peer &link, const QByteArray &datagram) const
{
    send(link, datagram);
    return link.receive();
}

QByteArray EngineFixture::openGroup(Peer &link, char seed) const
{
    const QByteArray answer = exchange(link, reg1(idProposal(seed)));
    return answer.size() == 258 && answer.startsWith(QByteArray::fromHex("9201")) ? answer.sliced(2) : QByteArray();
}

QByteArray EngineFixture::openGroup(const SrtlaEndpoint &link, char seed) const
{
    probe.handleDatagram(reg1(idProposal(seed)), link);
    return probe.senderIndex().value(link);
}

bool EngineFixture::join(Peer &link, const QByteArray &groupId) const
{
    return exchange(link, reg2(groupId)) == reg3;
}

QByteArray EngineFixture::connectLinks(std::initializer_list<Peer *> links) const
{
    const QByteArray id = openGroup(**links.begin());
    const bool joined = std::ranges::all_of(links, [&](Peer *link) { return join(*link, id); });
    return joined ? id : QByteArray();
}

quint16 EngineFixture::forwardHandshake(Peer &link)
{
    send(link, srtHandshake());
    return listener.receive() == srtHandshake() ? listener.lastSenderPort : quint16{0};
}

bool EngineFixture::receivesNothing(Peer &link) const
{
    return exchange(link, reg2(QByteArray(256, '\xff'))) == regNgp;
}

bool EngineFixture::forwardsNothing(Peer &link)
{
    const QByteArray known = typed(0x8001, 40);
    send(link, known);
    return listener.receive() == known;
}

quint16 EngineFixture::srtPort(const QByteArray &groupId) const
{
    const SrtlaGroup *const group = probe.group(groupId);
    return group && group->srtSocket ? group->srtSocket->localPort() : quint16{0};
}
