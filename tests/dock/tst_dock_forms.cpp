// SPDX-License-Identifier: GPL-2.0-or-later
// Rows of the panel's two forms: settings and addresses.
#include "docktest.h"
#include "panelview.h"

#include <QCheckBox>
#include <QPushButton>
#include <QTest>

using namespace PanelView;
using namespace Qt::StringLiterals;

class TestDockForms : public QuietDockTest
{
    Q_OBJECT

private Q_SLOTS:
    void settingsFormHasItsRows();
    void portRowShowsBothPorts();
    void hostRowHasTheQueryButtonAndTheHint();
    void streamIdRowShowsLive();
    void passwordRowHasItsTwoButtons();
    void startUpCheckBoxesAreInOneColumn();
    void addressGroupIsCollapsedWithTwoRows();
};

void TestDockForms::settingsFormHasItsRows()
{
    const QFormLayout *form = formAt(*fixture->dock, Settings);
    QVERIFY(form);
    QVERIFY(!groupAt(*fixture->dock, Settings)->isCheckable());
    QCOMPARE(form->contentsMargins(), groupMargins);
    QCOMPARE(form->horizontalSpacing(), 8);
    QCOMPARE(form->verticalSpacing(), 5);
    QCOMPARE(form->fieldGrowthPolicy(), QFormLayout::AllNonFixedFieldsGrow);
    QCOMPARE(form->rowCount(), 7);
    const QStringList labels{u"Ports:"_s,     QString(),      u"IP / Domain:"_s, QString(),
                             u"Stream-ID:"_s, u"Passwort:"_s, QString()};
    for (int row = 0; row < form->rowCount(); ++row) {
        QCOMPARE(rowLabel(form, row), labels.at(row));
        QVERIFY(!form->itemAt(row, QFormLayout::SpanningRole));
    }
}

void TestDockForms::portRowShowsBothPorts()
{
    const QFormLayout *form = formAt(*fixture->dock, Settings);
    const QHBoxLayout *row = rowOf(field(form, 0));
    QCOMPARE(row->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(row->spacing(), 5);
    QCOMPARE(describe(row), (QStringList{u"SRTLA"_s, u"[5000]"_s, u"OBS"_s, u"[5002]"_s}));
    QCOMPARE(row->itemAt(1)->widget(), probe->listenPortEdit());
    QCOMPARE(row->itemAt(3)->widget(), probe->targetPortEdit());
    QVERIFY(!probe->listenPortEdit()->isReadOnly());
    QVERIFY(probe->targetPortEdit()->isReadOnly());

    QCOMPARE(field(form, 1), probe->linkPortsCheck());
    QCOMPARE(probe->linkPortsCheck()->text(), u"OBS-Port = SRTLA + 2"_s);
    QVERIFY(probe->linkPortsCheck()->isChecked());
}

void TestDockForms::hostRowHasTheQueryButtonAndTheHint()
{
    const QFormLayout *form = formAt(*fixture->dock, Settings);
    const QHBoxLayout *row = rowOf(field(form, 2));
    QCOMPARE(row->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(row->spacing(), 5);
    QCOMPARE(describe(row), (QStringList{u"[]"_s, u"IP ermitteln"_s}));
    QCOMPARE(row->itemAt(0)->widget(), probe->publicHostEdit());
    QCOMPARE(row->stretch(0), 1);
    QCOMPARE(row->stretch(1), 0);
    QCOMPARE(row->itemAt(1)->widget(), probe->queryIpButton());
    QCOMPARE(probe->queryIpButton()->maximumWidth(), 108);
    QCOMPARE(probe->queryIpButton()->toolTip(), u"Öffentliche IP-Adresse dieses Internetanschlusses ermitteln"_s);

    QCOMPARE(field(form, 3), probe->ipHintLabel());
    QCOMPARE(probe->ipHintLabel()->text(),
             u"Öffentliche IP kann automatisch ermittelt oder manuell eingetragen werden."_s);
    QVERIFY(probe->ipHintLabel()->wordWrap());
    QCOMPARE(probe->ipHintLabel()->textFormat(), Qt::PlainText);
}

void TestDockForms::streamIdRowShowsLive()
{
    QCOMPARE(field(formAt(*fixture->dock, Settings), 4), probe->streamIdEdit());
    QCOMPARE(probe->streamIdEdit()->text(), u"live"_s);
}

void TestDockForms::passwordRowHasItsTwoButtons()
{
    const QHBoxLayout *row = rowOf(field(formAt(*fixture->dock, Settings), 5));
    QCOMPARE(row->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(row->spacing(), 5);
    QCOMPARE(describe(row), (QStringList{u"[]"_s, u"Zeigen"_s, u"Kopieren"_s}));
    QCOMPARE(row->itemAt(0)->widget(), probe->passwordEdit());
    QCOMPARE(row->stretch(0), 0);
    QCOMPARE(probe->passwordEdit()->echoMode(), QLineEdit::Password);
    QCOMPARE(probe->passwordEdit()->placeholderText(), u"Kein Passwort"_s);
    QCOMPARE(row->itemAt(1)->widget(), probe->showPasswordButton());
    QCOMPARE(probe->showPasswordButton()->maximumWidth(), 74);
    QCOMPARE(row->itemAt(2)->widget()->maximumWidth(), 78);
}

void TestDockForms::startUpCheckBoxesAreInOneColumn()
{
    const auto *box = qobject_cast<QVBoxLayout *>(field(formAt(*fixture->dock, Settings), 6)->layout());
    QVERIFY(box);
    QCOMPARE(box->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(box->spacing(), 2);
    QCOMPARE(describe(box), (QStringList{u"Receiver mit OBS starten"_s, u"Quelle bei OBS-Start reparieren"_s}));
    QCOMPARE(box->itemAt(0)->widget(), probe->autoStartCheck());
    QCOMPARE(box->itemAt(1)->widget(), probe->autoSourceCheck());
}

void TestDockForms::addressGroupIsCollapsedWithTwoRows()
{
    const QGroupBox *group = groupAt(*fixture->dock, Addresses);
    QVERIFY(group->isCheckable());
    QVERIFY(!group->isChecked());
    const QFormLayout *form = formAt(*fixture->dock, Addresses);
    QVERIFY(form);
    QCOMPARE(form->contentsMargins(), groupMargins);
    QCOMPARE(form->horizontalSpacing(), 7);
    QCOMPARE(form->verticalSpacing(), 5);
    QCOMPARE(form->rowCount(), 2);
    QCOMPARE(rowLabel(form, 0), u"IRL-App:"_s);
    const QHBoxLayout *row = rowOf(field(form, 0));
    QCOMPARE(row->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(row->spacing(), 5);
    QCOMPARE(row->count(), 2);
    QCOMPARE(row->itemAt(0)->widget(), probe->moblinAddressEdit());
    QVERIFY(probe->moblinAddressEdit()->isReadOnly());
    const auto *copy = qobject_cast<QPushButton *>(row->itemAt(1)->widget());
    QCOMPARE(copy->text(), u"Kopieren"_s);
    QCOMPARE(copy->maximumWidth(), 78);
    QCOMPARE(rowLabel(form, 1), u"OBS:"_s);
    QCOMPARE(field(form, 1), probe->obsAddressEdit());
    QVERIFY(probe->obsAddressEdit()->isReadOnly());
}

QTEST_MAIN(TestDockForms)
#include "tst_dock_forms.moc"
