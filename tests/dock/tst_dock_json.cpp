// SPDX-License-Identifier: GPL-2.0-or-later
// JSON requests on a worker thread and their callbacks on the main thread, with a real server (withjsonservice.py) in
// place of the vendor's.
#include "docktest.h"
#include "testkit/httpsjsonexpectations.h"
#include "testkit/jsonservice.h"

#include <QDeadlineTimer>
#include <QTest>
#include <QThread>
#include <QThreadPool>
#include <QTimer>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

/// The calls of a callback.
struct Calls
{
    QList<QJsonObject> replies;
    QList<int> statuses;
    QList<QThread *> threads;

    /// A callback for postJson(). It holds a reference, so that remaining copies can be counted.
    static JsonReplyCallback into(const std::shared_ptr<Calls> &calls)
    {
        return [calls](const QJsonObject &reply, int httpStatus) {
            calls->replies += reply;
            calls->statuses += httpStatus;
            calls->threads += QThread::currentThread();
        };
    }
};

} // namespace

class TestDockJson : public QuietDockTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() override;
    void cleanup() override;
    void postsToTheVendor();
    void callsBackOnTheMainThreadOnce();
    void callsBackWithFailures_data();
    void callsBackWithFailures();
    void runsRequestsConcurrently();
    void doesNotBlockTheMainThread();
    void dropsTheReplyOfADestroyedDock();
    void dropsTheQueuedReplyOfADestroyedDock();
    void survivesDestructionAtAnyMoment();

private:
    void post(const QString &path, const QJsonObject &request = {});
    /// Waits until all workers are idle, without running the event loop. Unlike QThreadPool::waitForDone() it does not
    /// end the threads: ThreadSanitizer does not recognise that Qt has joined them.
    static bool waitForWorkers();

    std::shared_ptr<Calls> calls;
};

void TestDockJson::initTestCase()
{
    constexpr int workers = 4; // on any number of processors
    QVERIFY2(JsonService::port(u"vendor"_s) != 0, "run this test through testkit/withjsonservice.py");
    QThreadPool::globalInstance()->setMaxThreadCount(workers);
    QThreadPool::globalInstance()->setExpiryTimeout(-1); // see waitForWorkers()
}

void TestDockJson::init()
{
    JsonService::hold();
    QuietDockTest::init();
    calls = std::make_shared<Calls>();
}

void TestDockJson::cleanup()
{
    JsonService::release();
    QVERIFY(waitForWorkers());
    QCoreApplication::processEvents();
    QuietDockTest::cleanup();
    // A remaining copy of the callback is a leak.
    QCOMPARE(calls.use_count(), 1);
}

void TestDockJson::post(const QString &path, const QJsonObject &request)
{
    fixture->dock->postJson(path, request, Calls::into(calls));
}

bool TestDockJson::waitForWorkers()
{
    const QDeadlineTimer deadline(waitMs);
    while (QThreadPool::globalInstance()->activeThreadCount() > 0 && !deadline.hasExpired()) {
        QThread::msleep(1);
    }
    return QThreadPool::globalInstance()->activeThreadCount() == 0;
}

void TestDockJson::postsToTheVendor()
{
    post(u"/echo/path?query"_s, {{u"b"_s, QJsonArray{1, true}}, {u"a"_s, u"ü"_s}});
    QTRY_COMPARE_WITH_TIMEOUT(calls->replies.size(), 1, waitMs);
    const QJsonObject request = calls->replies[0];
    QCOMPARE(request["method"_L1].toString(), u"POST"_s);
    QCOMPARE(request["target"_L1].toString(), u"/echo/path?query"_s);
    QCOMPARE(request["body"_L1].toString(), u"{\"a\":\"ü\",\"b\":[1,true]}"_s);
}

void TestDockJson::callsBackOnTheMainThreadOnce()
{
    post(u"/status/418"_s);
    QVERIFY(waitForWorkers());
    QCOMPARE(calls->replies.size(), 0); // never from within postJson() or the worker
    QTRY_COMPARE_WITH_TIMEOUT(calls->replies.size(), 1, waitMs);
    QCOMPARE(calls->replies[0], HttpsJson::servedObject());
    QCOMPARE(calls->statuses[0], 418);
    QCOMPARE(calls->threads[0], QThread::currentThread());
    QCoreApplication::processEvents();
    QCOMPARE(calls->replies.size(), 1);
}

void TestDockJson::callsBackWithFailures_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QJsonObject>("reply");
    QTest::addColumn<int>("status");

    const QJsonObject badAddress = HttpsJson::failure(u"Ungültige Server-Adresse."_s);
    QTest::newRow("no response") << u"/cut"_s << HttpsJson::unreachable(HttpsJson::brokenOff) << 0;
    QTest::newRow("no JSON") << u"/cut/nothing"_s << HttpsJson::noJson(200) << 200;
    QTest::newRow("unparsable address") << u":65536/echo"_s << badAddress << 0;
}

void TestDockJson::callsBackWithFailures()
{
    QFETCH(QString, path);
    QFETCH(QJsonObject, reply);
    QFETCH(int, status);
    post(path);
    QTRY_COMPARE_WITH_TIMEOUT(calls->replies.size(), 1, waitMs);
    QCOMPARE(calls->replies[0], reply);
    QCOMPARE(calls->statuses[0], status);
    QCOMPARE(calls->threads[0], QThread::currentThread());
}

void TestDockJson::runsRequestsConcurrently()
{
    constexpr int requests = 3;
    const int before = JsonService::heldRequests();
    QStringList expected;
    for (int i = 0; i < requests; ++i) {
        expected += u"/hold/%1"_s.arg(i);
        post(expected.last());
    }
    // All requests reach the server before any response.
    QTRY_COMPARE_WITH_TIMEOUT(JsonService::heldRequests(), before + requests, waitMs);
    QCOMPARE(calls->replies.size(), 0);
    JsonService::release();
    QTRY_COMPARE_WITH_TIMEOUT(calls->replies.size(), requests, waitMs);

    QStringList targets;
    for (const QJsonObject &reply : std::as_const(calls->replies)) {
        targets += reply["target"_L1].toString();
    }
    targets.sort();
    QCOMPARE(targets, expected);
}

void TestDockJson::doesNotBlockTheMainThread()
{
    constexpr int enoughIterations = 100;
    const int before = JsonService::heldRequests();
    post(u"/hold"_s);
    QTRY_COMPARE_WITH_TIMEOUT(JsonService::heldRequests(), before + 1, waitMs);

    int turns = 0;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&turns] { ++turns; });
    timer.start(0);
    QTRY_COMPARE_GE_WITH_TIMEOUT(turns, enoughIterations, waitMs);
    QCOMPARE(calls->replies.size(), 0);
    JsonService::release();
    QTRY_COMPARE_WITH_TIMEOUT(calls->replies.size(), 1, waitMs);
}

void TestDockJson::dropsTheReplyOfADestroyedDock()
{
    const int before = JsonService::heldRequests();
    post(u"/hold"_s);
    QTRY_COMPARE_WITH_TIMEOUT(JsonService::heldRequests(), before + 1, waitMs);
    fixture->dock.reset();
    JsonService::release();
    QVERIFY(waitForWorkers());
    QCoreApplication::processEvents();
    QCOMPARE(calls->replies.size(), 0);
}

void TestDockJson::dropsTheQueuedReplyOfADestroyedDock()
{
    post(u"/echo"_s);
    QVERIFY(waitForWorkers());
    fixture->dock.reset();
    QCoreApplication::processEvents();
    QCOMPARE(calls->replies.size(), 0);
}

void TestDockJson::survivesDestructionAtAnyMoment()
{
    constexpr int docks = 25;
    JsonService::release();
    for (int i = 0; i < docks; ++i) {
        if (!fixture->dock) {
            fixture->buildQuiet();
        }
        post(u"/echo"_s);
        // The exchange has progressed further in each round.
        for (int turn = 0; turn < i * i; ++turn) {
            QCoreApplication::processEvents();
        }
        fixture->dock.reset();
        const qsizetype delivered = calls->replies.size();
        QVERIFY(waitForWorkers());
        QCoreApplication::processEvents();
        QCOMPARE(calls->replies.size(), delivered);
    }
}

QTEST_MAIN(TestDockJson)
#include "tst_dock_json.moc"
