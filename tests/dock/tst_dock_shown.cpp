// SPDX-License-Identifier: GPL-2.0-or-later
// The visible panel: collapsible groups, scrolling, truncated texts.
#include "docktest.h"
#include "namedcontrol.h"

#include <QApplication>
#include <QCheckBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QScopeGuard>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QTextEdit>
#include <QToolTip>

using namespace Qt::StringLiterals;

class TestDockShown : public QuietDockTest
{
    Q_OBJECT

private Q_SLOTS:
    void checkingTheAddressGroupShowsItsRowsAndUncheckingHidesThem();
    void addressesShowTheirBeginningNotThePassphrase();
    void checkingTheLogGroupShowsTheLogWithFixedHeight();
    void shortDockScrollsVerticallyOnly();
    void themeWithWidePaddingTruncatesNoText();
    void toolTipOfAButtonHasTheThemesStyle();

private:
    /// The size of a tooltip of \a owner.
    static QSize toolTipSize(QWidget *owner);
};

QSize TestDockShown::toolTipSize(QWidget *owner)
{
    // A platform that activates every shown window hides a tooltip at once, but its label exists until its deferred
    // deletion. The label of an earlier call is deleted first.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QToolTip::showText(QPoint(10, 10), u"x"_s, owner);
    QSize size;
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (const QWidget *window : windows) {
        if (window->inherits("QTipLabel")) {
            size = window->size();
        }
    }
    return size;
}

void TestDockShown::checkingTheAddressGroupShowsItsRowsAndUncheckingHidesThem()
{
    QGroupBox *group = control<QGroupBox>(*fixture->dock, u"Verbindungsadressen"_s);
    fixture->dock->show();
    QVERIFY(QTest::qWaitForWindowExposed(fixture->dock.get()));
    const QList<QWidget *> children = group->findChildren<QWidget *>(Qt::FindDirectChildrenOnly);
    QCOMPARE(children.size(), 4); // two labels, a row, an edit
    for (const bool open : {false, true, false}) {
        group->setChecked(open);
        QVERIFY(group->isVisible());
        for (const QWidget *child : children) {
            QCOMPARE(child->isVisible(), open);
        }
    }
}

void TestDockShown::addressesShowTheirBeginningNotThePassphrase()
{
    constexpr int usualWidth = 410;
    fixture->dock->resize(usualWidth, fixture->dock->height());
    fixture->dock->show();
    QVERIFY(QTest::qWaitForWindowExposed(fixture->dock.get()));
    control<QGroupBox>(*fixture->dock, u"Verbindungsadressen"_s)->setChecked(true);
    QTest::keyClicks(probe->publicHostEdit(), u"mein-anschluss.dyndns.example"_s);
    QTest::keyClicks(probe->passwordEdit(), u"geheim12345"_s);
    QCoreApplication::processEvents();
    for (QLineEdit *edit : {probe->moblinAddressEdit(), probe->obsAddressEdit()}) {
        QCOMPARE(edit->cursorPositionAt(QPoint(0, edit->height() / 2)), 0);
    }
    const QLineEdit *edit = probe->obsAddressEdit();
    const qsizetype secret = edit->text().indexOf(u"geheim12345"_s);
    QVERIFY(secret > 0);
    QCOMPARE_LT(probe->obsAddressEdit()->cursorPositionAt(QPoint(edit->width(), edit->height() / 2)), secret);
}

void TestDockShown::checkingTheLogGroupShowsTheLogWithFixedHeight()
{
    QGroupBox *group = control<QGroupBox>(*fixture->dock, u"Protokoll"_s);
    fixture->dock->show();
    QVERIFY(QTest::qWaitForWindowExposed(fixture->dock.get()));
    QVERIFY(!probe->logView()->isVisible());
    group->setChecked(true);
    QVERIFY(probe->logView()->isVisible());
    fixture->dock->resize(600, 1400);
    for (int i = 0; i < 5; ++i) {
        fixture->dock->appendLog(u"REG3 | Weg %1 mit einer Zeile, die das Protokoll füllt"_s.arg(i));
    }
    QTRY_VERIFY_WITH_TIMEOUT(probe->logView()->verticalScrollBar()->maximum() > 0, waitMs);
    QVERIFY(probe->logView()->height() <= 62);
    QVERIFY(
        probe->logView()->viewport()->rect().contains(probe->logView()->cursorRect())); // the newest line is visible
    group->setChecked(false);
    QVERIFY(!probe->logView()->isVisible());
    QVERIFY(group->isVisible());
}

void TestDockShown::shortDockScrollsVerticallyOnly()
{
    fixture->dock->show();
    QVERIFY(QTest::qWaitForWindowExposed(fixture->dock.get()));
    const QScrollArea *area = fixture->dock->findChild<QScrollArea *>(Qt::FindDirectChildrenOnly);
    fixture->dock->resize(340, 360);
    QTRY_VERIFY_WITH_TIMEOUT(area->verticalScrollBar()->isVisible(), waitMs);
    QVERIFY(!area->horizontalScrollBar()->isVisible());
    fixture->dock->resize(340, 1400);
    QTRY_VERIFY_WITH_TIMEOUT(!area->verticalScrollBar()->isVisible(), waitMs);
    QVERIFY(!area->horizontalScrollBar()->isVisible());
}

void TestDockShown::themeWithWidePaddingTruncatesNoText()
{
    qApp->setStyleSheet(u"QPushButton { border: 1px solid gray; padding: 6px 20px; }"_s);
    const auto restored = qScopeGuard([] { qApp->setStyleSheet(QString()); });
    const QList<QPushButton *> buttons = fixture->dock->findChildren<QPushButton *>();
    for (const QPushButton *button : buttons) {
        QVERIFY2(button->sizeHint().width() <= button->maximumWidth(), qPrintable(button->text()));
    }
}

void TestDockShown::toolTipOfAButtonHasTheThemesStyle()
{
    qApp->setStyleSheet(u"QToolTip { padding: 9px; }"_s);
    const auto restored = qScopeGuard([] { qApp->setStyleSheet(QString()); });
    QWidget other;
    QVERIFY(toolTipSize(&other).isValid());
    QCOMPARE(toolTipSize(DockProbe(*fixture->dock).queryIpButton()), toolTipSize(&other));
}

QTEST_MAIN(TestDockShown)
#include "tst_dock_shown.moc"
