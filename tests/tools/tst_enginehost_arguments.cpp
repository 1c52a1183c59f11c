// SPDX-License-Identifier: GPL-2.0-or-later
#include "arguments.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestEnginehostArguments : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parsesThePorts_data();
    void parsesThePorts();
    void parsesTheTarget();
    void lastOccurrenceWins();
    void rejectsInvalidArguments_data();
    void rejectsInvalidArguments();
};

void TestEnginehostArguments::parsesThePorts_data()
{
    QTest::addColumn<QString>("word");
    QTest::addColumn<quint16>("port");
    QTest::newRow("usual") << u"5000"_s << quint16(5000);
    QTest::newRow("least") << u"1"_s << quint16(1);
    QTest::newRow("greatest") << u"65535"_s << quint16(65535);
    QTest::newRow("leading zeros") << u"00080"_s << quint16(80);
}

void TestEnginehostArguments::parsesThePorts()
{
    QFETCH(const QString, word);
    QFETCH(const quint16, port);
    const auto asListen = parseArguments({u"--listen"_s, word, u"--target-port"_s, u"5002"_s});
    QVERIFY(asListen && asListen->listenPort == port && asListen->targetPort == 5002);
    QCOMPARE(asListen->target.toString(), u"127.0.0.1"_s);
    const auto asTarget = parseArguments({u"--target-port"_s, word, u"--listen"_s, u"5002"_s});
    QVERIFY(asTarget && asTarget->targetPort == port && asTarget->listenPort == 5002);
}

void TestEnginehostArguments::parsesTheTarget()
{
    const auto arguments =
        parseArguments({u"--target"_s, u"192.0.2.7"_s, u"--listen"_s, u"1"_s, u"--target-port"_s, u"2"_s});
    QVERIFY(arguments);
    QCOMPARE(arguments->target.toString(), u"192.0.2.7"_s);
}

void TestEnginehostArguments::lastOccurrenceWins()
{
    const auto arguments = parseArguments({u"--listen"_s, u"1"_s, u"--target-port"_s, u"2"_s, u"--listen"_s, u"3"_s});
    QVERIFY(arguments);
    QCOMPARE(arguments->listenPort, 3);
}

void TestEnginehostArguments::rejectsInvalidArguments_data()
{
    QTest::addColumn<QStringList>("words");
    const QStringList good{u"--listen"_s, u"5000"_s, u"--target-port"_s, u"5002"_s};
    QTest::newRow("nothing") << QStringList();
    QTest::newRow("one port") << QStringList{u"--listen"_s, u"5000"_s};
    QTest::newRow("the other port") << QStringList{u"--target-port"_s, u"5002"_s};
    QTest::newRow("name without value") << good + QStringList{u"--target"_s};
    QTest::newRow("unknown name") << good + QStringList{u"--verbose"_s, u"1"_s};
    for (const QString &name : {u"--listen"_s, u"--target-port"_s}) {
        for (const QString &port : {u""_s, u"0"_s, u"65536"_s, u"-1"_s, u"+5000"_s, u" 5000"_s, u"5000 "_s, u"5000x"_s,
                                    u"5e3"_s, u"http"_s, u"\u0665"_s}) {
            const QStringList bad{name, port};
            QTest::addRow("%s '%s' after", qPrintable(name), qPrintable(port)) << good + bad;
            QTest::addRow("%s '%s' before", qPrintable(name), qPrintable(port)) << bad + good;
        }
    }
    for (const QString &address : {u""_s, u"localhost"_s, u"::1"_s, u"127.0.0.256"_s, u"127.1"_s, u" 127.0.0.1"_s}) {
        const QStringList bad{u"--target"_s, address};
        QTest::addRow("target '%s' after", qPrintable(address)) << good + bad;
        QTest::addRow("target '%s' before", qPrintable(address))
            << bad + QStringList{u"--target"_s, u"127.0.0.1"_s} + good;
    }
}

void TestEnginehostArguments::rejectsInvalidArguments()
{
    QFETCH(const QStringList, words);
    QVERIFY(!parseArguments(words));
}

QTEST_GUILESS_MAIN(TestEnginehostArguments)
#include "tst_enginehost_arguments.moc"
