// SPDX-License-Identifier: GPL-2.0-or-later
// The engine's meta-object and translation context.
#include "enginefixture.h"

#include <QCoreApplication>
#include <QMetaMethod>
#include <QTest>
#include <QTranslator>

using namespace Qt::StringLiterals;

namespace {

/// Translates nothing and records the context of each text.
class ContextRecorder : public QTranslator
{
public:
    QString translate(const char *context, const char *sourceText, const char *, int) const override
    {
        contexts[QString::fromUtf8(sourceText)] = QString::fromUtf8(context);
        return {};
    }
    bool isEmpty() const override { return false; }

    mutable QMap<QString, QString> contexts;
};

} // namespace

class TestSrtlaEngineMetaObject : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void membersAreInOrder_data();
    void membersAreInOrder();
    void hasNoOtherMembers();
    void theSrtSocketHasNoMetaObjectOfItsOwn();
    void textsAreTranslatedInTheEnginesContext();
};

void TestSrtlaEngineMetaObject::membersAreInOrder_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QByteArray>("signature");
    QTest::addColumn<QByteArrayList>("names");
    QTest::addColumn<bool>("isSignal");
    const auto row = [](int index, const char *signature, const QByteArrayList &names, bool isSignal) {
        QTest::newRow(signature) << index << QByteArray(signature) << names << isSignal;
    };
    row(0, "runningChanged(bool)", {"running"}, true);
    row(1, "statusChanged(QString)", {"text"}, true);
    row(2, "statisticsChanged(int,int,double,qulonglong,qulonglong)",
        {"groups", "paths", "megabitsPerSecond", "packets", "bytes"}, true);
    row(3, "logMessage(QString)", {"line"}, true);
    row(4, "readClientDatagrams()", {}, false);
    row(5, "cleanupSessions()", {}, false);
    row(6, "publishStatistics()", {}, false);
}

void TestSrtlaEngineMetaObject::membersAreInOrder()
{
    QFETCH(int, index);
    QFETCH(QByteArrayList, names);
    QFETCH(bool, isSignal);
    const QMetaObject &meta = SrtlaEngine::staticMetaObject;
    const QMetaMethod method = meta.method(meta.methodOffset() + index);
    QVERIFY(method.isValid());
    QByteArray signature = method.methodSignature();
    signature.replace("quint64", "qulonglong"); // two names of one type
    QTEST(signature, "signature");
    QCOMPARE(method.parameterNames(), names);
    QCOMPARE(method.methodType(), isSignal ? QMetaMethod::Signal : QMetaMethod::Slot);
    QCOMPARE(method.access(), isSignal ? QMetaMethod::Public : QMetaMethod::Private);
    QCOMPARE(method.returnMetaType(), QMetaType::fromType<void>());
}

void TestSrtlaEngineMetaObject::hasNoOtherMembers()
{
    const QMetaObject &meta = SrtlaEngine::staticMetaObject;
    QCOMPARE(meta.className(), "SrtlaEngine");
    QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 7);
    QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    QCOMPARE(meta.enumeratorCount(), meta.enumeratorOffset());
    QCOMPARE(meta.classInfoCount(), meta.classInfoOffset());
}

void TestSrtlaEngineMetaObject::theSrtSocketHasNoMetaObjectOfItsOwn()
{
    const SrtlaEngine::SrtSocket socket;
    QCOMPARE(socket.metaObject(), &QUdpSocket::staticMetaObject);
}

void TestSrtlaEngineMetaObject::textsAreTranslatedInTheEnginesContext()
{
    ContextRecorder recorder;
    QCoreApplication::installTranslator(&recorder);
    {
        EngineFixture fixture;
        fixture.engine.setMs = 0;
        Peer link;
        Peer next;
        QVERIFY(fixture.join(link, fixture.openGroup(link, 'a')));
        QVERIFY(fixture.forwardHandshake(link) != 0);
        Q_EMIT fixture.probe.groups().begin()->get()->srtSocket->errorOccurred(QAbstractSocket::NetworkError);
        QVERIFY(!fixture.openGroup(next, 'a').isEmpty());          // a new session of the same sender
        QVERIFY(fixture.join(next, fixture.openGroup(next, 'b'))); // a new registration
        fixture.engine.setMs = 8001;
        fixture.probe.cleanupSessions();
        QVERIFY(!fixture.openGroup(next, 'c').isEmpty());
        SrtlaEngine rival;
        QVERIFY(!rival.start(fixture.port(), QHostAddress(QHostAddress::LocalHost), 5002));
        fixture.engine.stop();
    }
    QCoreApplication::removeTranslator(&recorder);
    for (const QString &text :
         {u"Läuft auf UDP %1 → %2:%3"_s, u"START | SRTLA UDP %1 → SRT %2:%3"_s,
          u"UDP %1 konnte nicht geöffnet werden: %2"_s, u"FEHLER | SRTLA-Port %1: %2"_s, u"Gestoppt"_s,
          u"REG1 | Neue Gruppe %1 von %2:%3"_s, u"REG3 | Weg %1:%2 verbunden, Gruppe %3"_s,
          u"SRT | Gruppe %1 → %2:%3"_s, u"SRT | Gruppe %1: %2"_s, u"GRUPPE | %1 entfernt: %2"_s,
          u"TIMEOUT | Weg %1:%2 entfernt"_s, u"Timeout"_s, u"Receiver gestoppt"_s, u"Neue Sitzung desselben Senders"_s,
          u"Neu-Registrierung"_s}) {
        QVERIFY2(recorder.contexts.contains(text), qPrintable(text));
        QCOMPARE(recorder.contexts.value(text), u"SrtlaEngine"_s);
    }
}

QTEST_GUILESS_MAIN(TestSrtlaEngineMetaObject)
#include "tst_srtlaengine_metaobject.moc"
