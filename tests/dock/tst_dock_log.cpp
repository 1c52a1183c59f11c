// SPDX-License-Identifier: GPL-2.0-or-later
// The log view and the status line.
#include "docktest.h"

#include <QAbstractTextDocumentLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTextDocument>
#include <QTextEdit>

using namespace Qt::StringLiterals;

class TestDockLog : public QuietDockTest
{
    Q_OBJECT

private Q_SLOTS:
    void keepsAndShowsTheLastFiveLines();
    void burstIsNotLaidOutLineByLine();
    void lineWithALineFeedCountsAsTwoAtTheNextCall();
    void emptyLineShowsUntilTheNextCall();
    void linesAreShownAsGivenWithoutMarkup();
    void logLinesAreNotWrittenToTheObsLog();
    void runningStateSetsStatusAndButtons();
    void onlyTheBindErrorSetsTheStatusToFehler_data();
    void onlyTheBindErrorSetsTheStatusToFehler();
    void gestopptDoesNotReplaceFehler();
};

void TestDockLog::keepsAndShowsTheLastFiveLines()
{
    fixture->dock->show();
    for (const QString &line : {u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s, u"f"_s}) {
        fixture->dock->appendLog(line);
    }
    QCOMPARE(probe->logView()->toPlainText(), u"b\nc\nd\ne\nf"_s);
    QVERIFY(probe->logView()->textCursor().atEnd());
    QVERIFY(!probe->logView()->textCursor().hasSelection());
    QCOMPARE(probe->logView()->verticalScrollBar()->value(), probe->logView()->verticalScrollBar()->maximum());
}

void TestDockLog::burstIsNotLaidOutLineByLine()
{
    constexpr int burst = 1000;
    fixture->dock->show();
    for (QGroupBox *box : fixture->dock->findChildren<QGroupBox *>()) {
        box->setChecked(true);
    }
    QVERIFY(QTest::qWaitForWindowExposed(fixture->dock.get()));
    int layouts = 0;
    connect(probe->logView()->document()->documentLayout(), &QAbstractTextDocumentLayout::update, this,
            [&layouts] { ++layouts; });
    const QString longLine = u"REG1 | Neue Gruppe 3f4041424344 von 192.0.2.7:%1 und noch mehr, damit sie umbricht"_s;
    for (int number = 1; number <= burst; ++number) {
        fixture->dock->appendLog(longLine.arg(number));
        // The text is correct at any time.
        QVERIFY(probe->logView()->toPlainText().endsWith(longLine.arg(number)));
        QVERIFY(probe->logView()->textCursor().atEnd());
    }
    QStringList lastFive;
    for (int number = burst - 4; number <= burst; ++number) {
        lastFive.append(longLine.arg(number));
    }
    QCOMPARE(probe->logView()->toPlainText(), lastFive.join(u'\n'));
    QVERIFY2(layouts < burst / 10, qPrintable(QString::number(layouts)));

    QTRY_VERIFY_WITH_TIMEOUT(probe->logView()->updatesEnabled(), waitMs);
    QVERIFY(probe->logView()->document()->isLayoutEnabled());
    const QScrollBar *const bar = probe->logView()->verticalScrollBar();
    QVERIFY(bar->maximum() > 0);
    QVERIFY(bar->value() > 0);
    QVERIFY(probe->logView()->viewport()->rect().contains(probe->logView()->cursorRect()));
    QCOMPARE(probe->logView()->toPlainText(), lastFive.join(u'\n'));
    // After the burst single lines are laid out immediately again.
    const int before = layouts;
    fixture->dock->appendLog(u"b"_s);
    QVERIFY(layouts > before);
}

void TestDockLog::lineWithALineFeedCountsAsTwoAtTheNextCall()
{
    for (const QString &line : {u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e1\ne2"_s}) {
        fixture->dock->appendLog(line);
    }
    QCOMPARE(probe->logView()->toPlainText(), u"a\nb\nc\nd\ne1\ne2"_s);
    fixture->dock->appendLog(u"f"_s);
    QCOMPARE(probe->logView()->toPlainText(), u"c\nd\ne1\ne2\nf"_s);
}

void TestDockLog::emptyLineShowsUntilTheNextCall()
{
    fixture->dock->appendLog(u"a"_s);
    fixture->dock->appendLog(QString());
    QCOMPARE(probe->logView()->toPlainText(), u"a\n"_s);
    fixture->dock->appendLog(u"b"_s);
    QCOMPARE(probe->logView()->toPlainText(), u"a\nb"_s);
}

void TestDockLog::linesAreShownAsGivenWithoutMarkup()
{
    fixture->dock->appendLog(u"  <b>REG1</b> | &amp; ä "_s);
    QCOMPARE(probe->logView()->toPlainText(), u"  <b>REG1</b> | &amp; ä "_s);
}

void TestDockLog::logLinesAreNotWrittenToTheObsLog()
{
    fixture->dock->appendLog(u"a"_s);
    QVERIFY(ObsDouble::logLines().isEmpty());
}

void TestDockLog::runningStateSetsStatusAndButtons()
{
    Q_EMIT probe->engine().runningChanged(true);
    QCOMPARE(probe->statusLabel()->text(), u"Aktiv"_s);
    QVERIFY(!probe->startButton()->isEnabled());
    QVERIFY(probe->stopButton()->isEnabled());
    Q_EMIT probe->engine().runningChanged(false);
    QCOMPARE(probe->statusLabel()->text(), u"Inaktiv"_s);
    QVERIFY(probe->startButton()->isEnabled());
    QVERIFY(!probe->stopButton()->isEnabled());
}

void TestDockLog::onlyTheBindErrorSetsTheStatusToFehler_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("status");
    QTest::newRow("bind error") << u"UDP 5000 konnte nicht geöffnet werden: Address in use"_s << u"Fehler"_s;
    QTest::newRow("other port, no reason") << u"UDP 1 konnte nicht geöffnet werden: "_s << u"Fehler"_s;
    QTest::newRow("upper case") << u"UDP 1 KONNTE NICHT GEÖFFNET WERDEN: x"_s << u"Fehler"_s;
    QTest::newRow("running") << u"Läuft auf UDP 5000 → 127.0.0.1:5002"_s << u"Inaktiv"_s;
    QTest::newRow("stopped") << u"Gestoppt"_s << u"Inaktiv"_s;
}

void TestDockLog::onlyTheBindErrorSetsTheStatusToFehler()
{
    QFETCH(QString, text);
    Q_EMIT probe->engine().statusChanged(text);
    QTEST(probe->statusLabel()->text(), "status");
    QVERIFY(probe->startButton()->isEnabled());
    QVERIFY(!probe->stopButton()->isEnabled());
}

void TestDockLog::gestopptDoesNotReplaceFehler()
{
    Q_EMIT probe->engine().statusChanged(u"UDP 1 konnte nicht geöffnet werden: x"_s);
    Q_EMIT probe->engine().statusChanged(u"Gestoppt"_s);
    QCOMPARE(probe->statusLabel()->text(), u"Fehler"_s);
}

QTEST_MAIN(TestDockLog)
#include "tst_dock_log.moc"
