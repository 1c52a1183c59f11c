// SPDX-License-Identifier: GPL-2.0-or-later
// Accessibility of the panel: names of the controls and tab order.
#include "docktest.h"
#include "namedcontrol.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTextEdit>
#include <QWindow>

using namespace Qt::StringLiterals;

namespace {

// All controls, from top to bottom.
const QStringList controlsInTabOrder{u"Ports: SRTLA"_s,
                                     u"Ports: OBS"_s,
                                     u"OBS-Port = SRTLA + 2"_s,
                                     u"IP / Domain"_s,
                                     u"IP ermitteln"_s,
                                     u"Stream-ID"_s,
                                     u"Passwort"_s,
                                     u"Passwort: Zeigen"_s,
                                     u"Passwort: Kopieren"_s,
                                     u"Receiver mit OBS starten"_s,
                                     u"Quelle bei OBS-Start reparieren"_s,
                                     u"Verbindungsadressen"_s,
                                     u"IRL-App"_s,
                                     u"IRL-App: Kopieren"_s,
                                     u"OBS"_s,
                                     u"Start"_s,
                                     u"Stopp"_s,
                                     u"Quelle reparieren"_s,
                                     u"Protokoll"_s,  // the group box with its check box
                                     u"Protokoll"_s}; // the log view

} // namespace

class TestDockNames : public QuietDockTest
{
    Q_OBJECT

private Q_SLOTS:
    void everyControlIsNamed();
    void groupsAreNamedByTheirTitles();
    void namesMatchTheirControls();
    void changingLabelsAreNamedByTheirTexts();
    void nameOfTheShowButtonFollowsItsText();
    void labelsAreBuddiesOfTheirEdits();
    void tabOrderIsTheOrderOnTheScreen();

private:
    /// The controls in tab order, beginning with the one that has the focus.
    QStringList focusedNames(Qt::Key key);
};

void TestDockNames::everyControlIsNamed()
{
    QStringList names;
    const QList<QWidget *> widgets = fixture->dock->findChildren<QWidget *>();
    for (QWidget *widget : widgets) {
        const auto *group = qobject_cast<QGroupBox *>(widget);
        if (qobject_cast<QLineEdit *>(widget) || qobject_cast<QAbstractButton *>(widget) ||
            qobject_cast<QTextEdit *>(widget) || (group && group->isCheckable())) {
            names << accessibleNameOf(widget);
        }
    }
    QStringList expected = controlsInTabOrder;
    names.sort();
    expected.sort();
    QCOMPARE(names, expected);
}

void TestDockNames::groupsAreNamedByTheirTitles()
{
    for (const QString &title :
         {u"Receiver-Status"_s, u"Einstellungen"_s, u"Verbindungsadressen"_s, u"Plugin-Version"_s, u"Protokoll"_s}) {
        QVERIFY2(control<QGroupBox>(*fixture->dock, title), qPrintable(title));
    }
}

void TestDockNames::namesMatchTheirControls()
{
    const TarvolineDock &dock = *fixture->dock;
    QCOMPARE(control<QLineEdit>(dock, u"Ports: SRTLA"_s), probe->listenPortEdit());
    QCOMPARE(control<QLineEdit>(dock, u"Ports: OBS"_s), probe->targetPortEdit());
    QCOMPARE(control<QLineEdit>(dock, u"IP / Domain"_s), probe->publicHostEdit());
    QCOMPARE(control<QLineEdit>(dock, u"Stream-ID"_s), probe->streamIdEdit());
    QCOMPARE(control<QLineEdit>(dock, u"Passwort"_s), probe->passwordEdit());
    QCOMPARE(control<QPushButton>(dock, u"Passwort: Zeigen"_s), probe->showPasswordButton());
    QCOMPARE(control<QLineEdit>(dock, u"IRL-App"_s), probe->moblinAddressEdit());
    QCOMPARE(control<QLineEdit>(dock, u"OBS"_s), probe->obsAddressEdit());
    QCOMPARE(control<QTextEdit>(dock, u"Protokoll"_s), probe->logView());
}

void TestDockNames::changingLabelsAreNamedByTheirTexts()
{
    QCOMPARE(accessibleNameOf(probe->statusLabel()), u"Inaktiv"_s);
    QCOMPARE(accessibleNameOf(probe->ipHintLabel()), probe->ipHintLabel()->text());
    QCOMPARE(accessibleNameOf(probe->versionLabel()), u"Installierte Version: 0.9.2"_s);
}

void TestDockNames::nameOfTheShowButtonFollowsItsText()
{
    for (const QString &words : {u"Ausblenden"_s, u"Anzeigen"_s, u"Ausblenden"_s}) {
        fixture->dock->togglePasswordVisibility();
        QCOMPARE(accessibleNameOf(probe->showPasswordButton()), u"Passwort: "_s + words);
    }
}

void TestDockNames::labelsAreBuddiesOfTheirEdits()
{
    QMap<QString, QString> buddies;
    const QList<QLabel *> labels = fixture->dock->findChildren<QLabel *>();
    for (const QLabel *label : labels) {
        if (label->buddy()) {
            QVERIFY2(!buddies.contains(label->text()) || label->text() == "OBS"_L1, qPrintable(label->text()));
            buddies.insert(label->text(), accessibleNameOf(label->buddy()));
        }
    }
    const QMap<QString, QString> expected{{u"Ports:"_s, u"Ports: SRTLA"_s},  {u"SRTLA"_s, u"Ports: SRTLA"_s},
                                          {u"OBS"_s, u"Ports: OBS"_s},       {u"IP / Domain:"_s, u"IP / Domain"_s},
                                          {u"Stream-ID:"_s, u"Stream-ID"_s}, {u"Passwort:"_s, u"Passwort"_s},
                                          {u"IRL-App:"_s, u"IRL-App"_s},     {u"OBS:"_s, u"OBS"_s}};
    QCOMPARE(buddies, expected);
}

void TestDockNames::tabOrderIsTheOrderOnTheScreen()
{
    TarvolineDock &dock = *fixture->dock;
    control<QGroupBox>(dock, u"Verbindungsadressen"_s)->setChecked(true);
    control<QGroupBox>(dock, u"Protokoll"_s)->setChecked(true);
    probe->stopButton()->setEnabled(true); // as while the receiver runs
    dock.resize(500, 1000);
    dock.show();
    dock.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&dock));

    probe->listenPortEdit()->setFocus();
    QCOMPARE(focusedNames(Qt::Key_Tab), controlsInTabOrder);

    probe->logView()->setFocus();
    QStringList backwards = controlsInTabOrder;
    std::reverse(backwards.begin(), backwards.end());
    QCOMPARE(focusedNames(Qt::Key_Backtab), backwards);
}

QStringList TestDockNames::focusedNames(Qt::Key key)
{
    QStringList names;
    for (qsizetype step = 0; step < controlsInTabOrder.size(); ++step) {
        names << accessibleNameOf(QApplication::focusWidget());
        QTest::keyClick(fixture->dock->windowHandle(), key);
    }
    return names;
}

QTEST_MAIN(TestDockNames)
#include "tst_dock_names.moc"
