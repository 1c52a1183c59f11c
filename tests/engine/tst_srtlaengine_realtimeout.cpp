// SPDX-License-Identifier: GPL-2.0-or-later
// The engine's time-out in real time.
#include "enginefixture.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;

class TestSrtlaEngineRealTimeout : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void silentLinkAndItsGroupAreRemovedAfterEightToTenSeconds();
};

void TestSrtlaEngineRealTimeout::silentLinkAndItsGroupAreRemovedAfterEightToTenSeconds()
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
    // The link is removed at the fifth tick at the latest (every 2 s after more than 8 s); one more because the timer
    // may fire slightly early.
    constexpr int maximumTicks = 6;
    int ticks = 0;
    connect(&fixture.probe.cleanupTimer(), &QTimer::timeout, this, [&] {
        if (fixture.probe.group(gone)) {
            ++ticks;
        }
    });
    QTimer keepalive;
    connect(&keepalive, &QTimer::timeout, this, [&] { fixture.send(alive, typed(0x9000, 10)); });
    keepalive.start(1000);

    QTRY_VERIFY_WITH_TIMEOUT(!fixture.probe.group(gone), waitMs);
    const qint64 atMost = before.elapsed();
    const qint64 atLeast = after.elapsed();
    qInfo("removed %lld to %lld ms after the last datagram", atLeast, atMost);
    QVERIFY2(atMost > 8000, "too early");
    // The upper limit in ticks, because a loaded machine may take longer in milliseconds.
    QCOMPARE_LE(ticks, maximumTicks);
    QVERIFY(fixture.probe.path(kept, alive.endpoint()));
    const QString link = u"TIMEOUT | Weg 127.0.0.1:%1 entfernt"_s.arg(silent.endpoint().port);
    QCOMPARE(fixture.record.logLines.last(2), (QStringList{link, u"GRUPPE | 616263646566 entfernt: Timeout"_s}));
}

QTEST_GUILESS_MAIN(TestSrtlaEngineRealTimeout)
#include "tst_srtlaengine_realtimeout.moc"
