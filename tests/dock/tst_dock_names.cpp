// SPDX-License-Identifier: GPL-2.0-or-later
// What assistive technology is told of the panel: the controls' names, and their order for the Tab key.
#include "dockfixture.h"
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

#include <optional>

using namespace Qt::StringLiterals;

namespace {

// All that can be used, from the top of the screen to its end.
const QStringList controlsOnTheScreen{u"Ports: SRTLA"_s,
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
                                      u"Protokoll"_s,  // the group with its check box
                                      u"Protokoll"_s}; // the log in it

} // namespace

class TestDockNames : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        fixture.emplace();
        probe.emplace(fixture->buildQuiet());
    }
    void cleanup()
    {
        probe.reset();
        fixture.reset();
    }

    void everyControlIsNamed()
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
        QStringList expected = controlsOnTheScreen;
        names.sort();
        expected.sort();
        QCOMPARE(names, expected);
    }

    void groupsAreNamedByTheirTitles()
    {
        for (const QString &title : {u"Receiver-Status"_s, u"Einstellungen"_s, u"Verbindungsadressen"_s,
                                     u"Plugin-Version"_s, u"Protokoll"_s}) {
            QVERIFY2(control<QGroupBox>(*fixture->dock, title), qPrintable(title));
        }
    }

    void namesBelongToTheirControls()
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

    void namesOfLabelsThatChangeAreTheirTexts()
    {
        QCOMPARE(accessibleNameOf(probe->statusLabel()), u"Inaktiv"_s);
        QCOMPARE(accessibleNameOf(probe->ipHintLabel()), probe->ipHintLabel()->text());
        QCOMPARE(accessibleNameOf(probe->versionLabel()), u"Installierte Version: 0.9.2"_s);
    }

    void nameOfTheShowButtonFollowsItsWords()
    {
        for (const QString &words : {u"Ausblenden"_s, u"Anzeigen"_s, u"Ausblenden"_s}) {
            fixture->dock->togglePasswordVisibility();
            QCOMPARE(accessibleNameOf(probe->showPasswordButton()), u"Passwort: "_s + words);
        }
    }

    void labelsAreBuddiesOfTheirEdits()
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

    void tabGoesThroughAllControlsInTheOrderOfTheScreen()
    {
        TarvolineDock &dock = *fixture->dock;
        control<QGroupBox>(dock, u"Verbindungsadressen"_s)->setChecked(true);
        control<QGroupBox>(dock, u"Protokoll"_s)->setChecked(true);
        probe->stopButton()->setEnabled(true); // as it is while the receiver runs
        dock.resize(500, 1000);
        dock.show();
        dock.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&dock));

        probe->listenPortEdit()->setFocus();
        QCOMPARE(namesOnTheWay(Qt::Key_Tab), controlsOnTheScreen);

        probe->logView()->setFocus();
        QStringList backwards = controlsOnTheScreen;
        std::reverse(backwards.begin(), backwards.end());
        QCOMPARE(namesOnTheWay(Qt::Key_Backtab), backwards);
    }

private:
    /// The controls from the one with the focus on to the last one before it comes round.
    QStringList namesOnTheWay(Qt::Key key)
    {
        QStringList names;
        for (qsizetype step = 0; step < controlsOnTheScreen.size(); ++step) {
            names << accessibleNameOf(QApplication::focusWidget());
            QTest::keyClick(fixture->dock->windowHandle(), key);
        }
        return names;
    }

    std::optional<DockFixture> fixture;
    std::optional<DockProbe> probe;
};

QTEST_MAIN(TestDockNames)
#include "tst_dock_names.moc"
