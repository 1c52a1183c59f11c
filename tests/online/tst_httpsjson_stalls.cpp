// SPDX-License-Identifier: GPL-2.0-or-later
// Time-outs of the JSON exchange in real time. All exchanges run concurrently.
#include "jsonexchange.h"

#include <QElapsedTimer>
#include <QTest>
#include <QThread>
#include <QThreadPool>

#include <atomic>
#include <chrono>

using namespace HttpsJson;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// Separates exchanges that end after 5 s from those that end after 8 s.
constexpr std::chrono::milliseconds betweenTheLimits = 6500ms;

/// One exchange: expected reply and duration.
struct Exchange
{
    QByteArray name;
    QString url;
    QJsonObject object;
    int status = 0;
    qint64 limitMs = 0; ///< expected duration

    HttpsJsonReply reply;
    qint64 elapsedMs = 0;
    int place = 0; ///< in the order in which the exchanges ended
};

std::vector<Exchange> exchanges()
{
    constexpr qint64 fiveSeconds = 5000;
    constexpr qint64 eightSeconds = 8000;
    const auto row = [](QByteArray name, QString url, QJsonObject object, int status, qint64 limitMs) {
        return Exchange{std::move(name), std::move(url), std::move(object), status, limitMs, {}, 0, 0};
    };
    const QJsonObject timeOut = unreachable(timedOut);
    const QJsonObject timeOutInHandshake = unreachable(timedOutInHandshake);
    const QJsonObject timeOutInResponse = unreachable(timedOutInResponse);
    return {
        row("name server silent", u"https://nameserver.silent/"_s, timeOut, 0, fiveSeconds),
        row("connection request unanswered", urlAt(u"swallowed"_s, u"/"_s), timeOut, 0, fiveSeconds),
        row("silent after the connection", urlAt(u"silent"_s, u"/"_s), timeOutInHandshake, 0, eightSeconds),
        row("silent after the request", urlAt(u"https"_s, u"/stall"_s), timeOutInResponse, 0, eightSeconds),
        row("silent in the headers", urlAt(u"https"_s, u"/stall/headers"_s), timeOutInResponse, 0, eightSeconds),
        row("silent before the body", urlAt(u"https"_s, u"/stall/nothing"_s), noJson(200), 200, eightSeconds),
        row("silent in the body", urlAt(u"https"_s, u"/stall/middle"_s), noJson(200), 200, eightSeconds),
        row("silent after the object", urlAt(u"https"_s, u"/stall/object"_s), servedObject(), 200, eightSeconds),
        row("silent after a redirect", urlAt(u"https"_s, u"/redirect/307?/stall"_s), timeOutInResponse, 0,
            eightSeconds),
        // The limit applies to one receive operation, not to the whole response.
        row("slow but steady", urlAt(u"https"_s, u"/slow"_s), servedObject(), 200, eightSeconds),
    };
}

} // namespace

class TestHttpsJsonStalls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void endsInTime_data();
    void endsInTime();
    void limitsDiffer();

private:
    std::vector<Exchange> runs;
    int placeBetweenTheLimits = 0;
};

void TestHttpsJsonStalls::initTestCase()
{
    QVERIFY2(JsonService::port(u"https"_s) != 0, "run this test through testkit/withjsonservice.py");
    runs = exchanges();
    QThreadPool pool;
    pool.setMaxThreadCount(static_cast<int>(runs.size()) + 1);
    std::atomic_int ended = 0;
    pool.start([this, &ended] {
        QThread::sleep(betweenTheLimits);
        placeBetweenTheLimits = ++ended;
    });
    for (Exchange &run : runs) {
        pool.start([&run, &ended] {
            QElapsedTimer clock;
            clock.start();
            run.reply = exchangeJson(run.url, "{}");
            run.elapsedMs = clock.elapsed();
            run.place = ++ended;
        });
    }
    pool.waitForDone();
}

void TestHttpsJsonStalls::endsInTime_data()
{
    QTest::addColumn<qsizetype>("index");
    for (qsizetype index = 0; index < std::ssize(runs); ++index) {
        QTest::newRow(runs[static_cast<size_t>(index)].name.constData()) << index;
    }
}

void TestHttpsJsonStalls::endsInTime()
{
    // More than a busy machine or Wine adds, less than operating systems wait by default.
    constexpr qint64 overrunMs = 30000;
    constexpr qint64 clockToleranceMs = 100; // the time-out is not measured with the same clock
    QFETCH(qsizetype, index);
    const Exchange &run = runs[static_cast<size_t>(index)];
    QCOMPARE_GE(run.elapsedMs, run.limitMs - clockToleranceMs);
    QCOMPARE_LT(run.elapsedMs, run.limitMs + overrunMs);
    expectFailureUnderWine({"silent in the headers"}, "Wine takes half a header for the end of all headers");
    QCOMPARE(run.reply.object, run.object);
    QCOMPARE(run.reply.httpStatus, run.status);
}

void TestHttpsJsonStalls::limitsDiffer()
{
    // A loaded machine delays all exchanges alike, so their order of completion is checked.
    for (const Exchange &run : runs) {
        QVERIFY2((run.limitMs < betweenTheLimits.count()) == (run.place < placeBetweenTheLimits), run.name);
    }
}

QTEST_GUILESS_MAIN(TestHttpsJsonStalls)
#include "tst_httpsjson_stalls.moc"
