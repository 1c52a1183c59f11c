// SPDX-License-Identifier: GPL-2.0-or-later
// The engine's time-out in real time, instead of a clock that the test moves.
#include "enginefixture.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;

class TestSrtlaEngineRealTimeout : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aSilentLinkAndItsGroupGoAfterEightToTenSeconds();
};

void TestSrtlaEngineRealTimeout::aSilentLinkAndItsGroupGoAfterEightToTenSeconds()
{
    EngineFixture fixture(EngineFixture::Timers::Running);
    Peer silent;
    Peer alive;
    const QByteArray gone = fixture.openGroup(silent, 'a');
    const QByteArray kept = fixture.openGroup(alive, 'b');
    QVERIFY(fixture.join(alive, kept));

    QElapsedTimer before;
    before.start();
    QVERIFY(fixture.join(silent, gone));
    QElapsedTimer after;
    after.start();
    QTimer keepalive;
    connect(&keepalive, &QTimer::timeout, this, [&] { fixture.send(alive, typed(0x9000, 10)); });
    keepalive.start(1000);

    QTRY_VERIFY_WITH_TIMEOUT(!fixture.probe.group(gone), ampleMs);
    const qint64 atMost = before.elapsed();
    const qint64 atLeast = after.elapsed();
    qInfo("removed %lld to %lld ms after the last datagram", atLeast, atMost);
    QVERIFY2(atMost > 8000, "too early");
    // The upper end is the cleanup's own period, as far as this machine kept time.
    if (atLeast > 10500) {
        qWarning("later than ten seconds: a loaded machine, or a defect");
    }
    QVERIFY(fixture.probe.path(kept, alive.endpoint()));
    const QString link = u"TIMEOUT | Weg 127.0.0.1:%1 entfernt"_s.arg(silent.endpoint().port);
    QCOMPARE(fixture.record.logLines.last(2), (QStringList{link, u"GRUPPE | 616263646566 entfernt: Timeout"_s}));
}

QTEST_GUILESS_MAIN(TestSrtlaEngineRealTimeout)
#include "tst_srtlaengine_realtimeout.moc"
