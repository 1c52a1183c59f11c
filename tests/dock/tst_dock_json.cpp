// SPDX-License-Identifier: GPL-2.0-or-later
// The hand-over of a JSON request to a worker and of its answer to the main thread, with a real server
// (withjsonservice.py) in the place of the vendor's.
#include "dockfixture.h"
#include "testkit/httpsjsonexpectations.h"
#include "testkit/jsonservice.h"

#include <QDeadlineTimer>
#include <QTest>
#include <QThread>
#include <QThreadPool>
#include <QTimer>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

// Far beyond what a loaded machine needs.
constexpr int patienceMs = 30000;

/// What a callback was called with, and how often.
struct Answers
{
    QList<QJsonObject> replies;
    QList<int> statuses;
    QList<QThread *> threads;

    /// A callback for postJson(). Held by it alone, so that whoever still has it can be counted.
    static JsonReplyCallback into(const std::shared_ptr<Answers> &answers)
    {
        return [answers](const QJsonObject &reply, int httpStatus) {
            answers->replies += reply;
            answers->statuses += httpStatus;
            answers->threads += QThread::currentThread();
        };
    }
};

} // namespace

class TestDockJson : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        constexpr int workers = 4; // however few processors this machine has
        QVERIFY2(JsonService::port(u"vendor"_s) != 0, "to be run by withjsonservice.py");
        QThreadPool::globalInstance()->setMaxThreadCount(workers);
        QThreadPool::globalInstance()->setExpiryTimeout(-1); // see waitForWorkers()
    }
    void init()
    {
        JsonService::hold();
        fixture.emplace();
        fixture->buildQuiet();
        answers = std::make_shared<Answers>();
    }
    void cleanup()
    {
        JsonService::release();
        QVERIFY(waitForWorkers());
        QCoreApplication::processEvents();
        fixture.reset();
        // A callback that is still somewhere is a leak.
        QCOMPARE(answers.use_count(), 1);
    }

    void postsToTheVendor();
    void answersOnTheMainThreadOnce();
    void answersFailures_data();
    void answersFailures();
    void answersSeveralAtOnce();
    void keepsTheMainThreadFree();
    void dropsTheReplyOfADeadDock();
    void dropsTheQueuedReplyOfADeadDock();
    void survivesDocksThatDieAtAnyMoment();

private:
    void post(const QString &path, const QJsonObject &request = {})
    {
        fixture->dock->postJson(path, request, Answers::into(answers));
    }
    /// Waits until no worker has anything to do, without running the event loop. Unlike QThreadPool::waitForDone() it
    /// leaves the threads alive: the thread sanitizer loses track of threads that Qt has joined.
    static bool waitForWorkers()
    {
        const QDeadlineTimer deadline(patienceMs);
        while (QThreadPool::globalInstance()->activeThreadCount() > 0 && !deadline.hasExpired()) {
            QThread::msleep(1);
        }
        return QThreadPool::globalInstance()->activeThreadCount() == 0;
    }

    std::optional<DockFixture> fixture;
    std::shared_ptr<Answers> answers;
};

void TestDockJson::postsToTheVendor()
{
    post(u"/echo/path?query"_s, {{u"b"_s, QJsonArray{1, true}}, {u"a"_s, u"ü"_s}});
    QTRY_COMPARE_WITH_TIMEOUT(answers->replies.size(), 1, patienceMs);
    const QJsonObject request = answers->replies[0];
    QCOMPARE(request["method"_L1].toString(), u"POST"_s);
    QCOMPARE(request["target"_L1].toString(), u"/echo/path?query"_s);
    QCOMPARE(request["body"_L1].toString(), u"{\"a\":\"ü\",\"b\":[1,true]}"_s);
}

void TestDockJson::answersOnTheMainThreadOnce()
{
    post(u"/status/418"_s);
    QVERIFY(waitForWorkers());
    QCOMPARE(answers->replies.size(), 0); // never from within postJson() or the worker
    QTRY_COMPARE_WITH_TIMEOUT(answers->replies.size(), 1, patienceMs);
    QCOMPARE(answers->replies[0], HttpsJson::servedObject());
    QCOMPARE(answers->statuses[0], 418);
    QCOMPARE(answers->threads[0], QThread::currentThread());
    QCoreApplication::processEvents();
    QCOMPARE(answers->replies.size(), 1);
}

void TestDockJson::answersFailures_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QJsonObject>("reply");
    QTest::addColumn<int>("status");

    const QJsonObject badAddress = HttpsJson::failure(u"Ungültige Server-Adresse."_s);
    QTest::newRow("no answer") << u"/cut"_s << HttpsJson::unreachable(HttpsJson::brokenOff) << 0;
    QTest::newRow("no JSON") << u"/cut/nothing"_s << HttpsJson::noJson(200) << 200;
    QTest::newRow("unparsable address") << u":65536/echo"_s << badAddress << 0;
}

void TestDockJson::answersFailures()
{
    QFETCH(QString, path);
    QFETCH(QJsonObject, reply);
    QFETCH(int, status);
    post(path);
    QTRY_COMPARE_WITH_TIMEOUT(answers->replies.size(), 1, patienceMs);
    QCOMPARE(answers->replies[0], reply);
    QCOMPARE(answers->statuses[0], status);
    QCOMPARE(answers->threads[0], QThread::currentThread());
}

void TestDockJson::answersSeveralAtOnce()
{
    constexpr int requests = 3;
    const int before = JsonService::heldRequests();
    QStringList expected;
    for (int i = 0; i < requests; ++i) {
        expected += u"/hold/%1"_s.arg(i);
        post(expected.last());
    }
    // All of them are at the server before any of them is answered.
    QTRY_COMPARE_WITH_TIMEOUT(JsonService::heldRequests(), before + requests, patienceMs);
    QCOMPARE(answers->replies.size(), 0);
    JsonService::release();
    QTRY_COMPARE_WITH_TIMEOUT(answers->replies.size(), requests, patienceMs);

    QStringList targets;
    for (const QJsonObject &reply : std::as_const(answers->replies)) {
        targets += reply["target"_L1].toString();
    }
    targets.sort();
    QCOMPARE(targets, expected);
}

void TestDockJson::keepsTheMainThreadFree()
{
    constexpr int enoughTurns = 100;
    const int before = JsonService::heldRequests();
    post(u"/hold"_s);
    QTRY_COMPARE_WITH_TIMEOUT(JsonService::heldRequests(), before + 1, patienceMs);

    int turns = 0;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&turns] { ++turns; });
    timer.start(0);
    QTRY_COMPARE_GE_WITH_TIMEOUT(turns, enoughTurns, patienceMs);
    QCOMPARE(answers->replies.size(), 0);
    JsonService::release();
    QTRY_COMPARE_WITH_TIMEOUT(answers->replies.size(), 1, patienceMs);
}

void TestDockJson::dropsTheReplyOfADeadDock()
{
    const int before = JsonService::heldRequests();
    post(u"/hold"_s);
    QTRY_COMPARE_WITH_TIMEOUT(JsonService::heldRequests(), before + 1, patienceMs);
    fixture->dock.reset();
    JsonService::release();
    QVERIFY(waitForWorkers());
    QCoreApplication::processEvents();
    QCOMPARE(answers->replies.size(), 0);
}

void TestDockJson::dropsTheQueuedReplyOfADeadDock()
{
    post(u"/echo"_s);
    QVERIFY(waitForWorkers());
    fixture->dock.reset();
    QCoreApplication::processEvents();
    QCOMPARE(answers->replies.size(), 0);
}

void TestDockJson::survivesDocksThatDieAtAnyMoment()
{
    constexpr int docks = 25;
    JsonService::release();
    for (int i = 0; i < docks; ++i) {
        if (!fixture->dock) {
            fixture->buildQuiet();
        }
        post(u"/echo"_s);
        // More and more of the exchange has happened when the dock dies.
        for (int turn = 0; turn < i * i; ++turn) {
            QCoreApplication::processEvents();
        }
        fixture->dock.reset();
        const qsizetype delivered = answers->replies.size();
        QVERIFY(waitForWorkers());
        QCoreApplication::processEvents();
        QCOMPARE(answers->replies.size(), delivered);
    }
}

QTEST_MAIN(TestDockJson)
#include "tst_dock_json.moc"
