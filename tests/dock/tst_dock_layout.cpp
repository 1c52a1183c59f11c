// SPDX-License-Identifier: GPL-2.0-or-later
// Every widget of the panel: texts, sizes, margins, policies, order.
#include "dockfixture.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMetaMethod>
#include <QPushButton>
#include <QScrollArea>
#include <QTest>
#include <QTextEdit>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

QScrollArea *scrollAreaOf(const TarvolineDock &dock)
{
    return dock.findChild<QScrollArea *>(Qt::FindDirectChildrenOnly);
}

QVBoxLayout *columnOf(const TarvolineDock &dock)
{
    return qobject_cast<QVBoxLayout *>(scrollAreaOf(dock)->widget()->layout());
}

// The group box at a place of the column, null where something else stands.
QGroupBox *groupAt(const TarvolineDock &dock, int index)
{
    return qobject_cast<QGroupBox *>(columnOf(dock)->itemAt(index)->widget());
}

QFormLayout *formAt(const TarvolineDock &dock, int index)
{
    return qobject_cast<QFormLayout *>(groupAt(dock, index)->layout());
}

QString rowLabel(const QFormLayout *form, int row)
{
    const QLayoutItem *item = form->itemAt(row, QFormLayout::LabelRole);
    return item ? qobject_cast<QLabel *>(item->widget())->text() : QString();
}

QWidget *field(const QFormLayout *form, int row)
{
    return form->itemAt(row, QFormLayout::FieldRole)->widget();
}

// What stands side by side in a box layout, as texts; an edit as "[…]", a stretch as "~".
QStringList describe(const QLayout *layout)
{
    QStringList parts;
    for (int i = 0; i < layout->count(); ++i) {
        QWidget *widget = layout->itemAt(i)->widget();
        if (!widget) {
            parts << u"~"_s;
        } else if (const auto *label = qobject_cast<QLabel *>(widget)) {
            parts << label->text();
        } else if (const auto *edit = qobject_cast<QLineEdit *>(widget)) {
            parts << u"[%1]"_s.arg(edit->text());
        } else if (const auto *button = qobject_cast<QAbstractButton *>(widget)) {
            parts << button->text();
        } else {
            parts << QString::fromLatin1(widget->metaObject()->className());
        }
    }
    return parts;
}

QHBoxLayout *rowOf(const QWidget *row)
{
    return qobject_cast<QHBoxLayout *>(row->layout());
}

// Column places, top to bottom.
enum Place { Title, Status, Settings, Addresses, Buttons, Version, Log, End, PlaceCount };

const QMargins groupMargins(8, 7, 8, 8);

} // namespace

class TestDockLayout : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        fixture.emplace();
        fixture->buildQuiet();
    }
    void cleanup() { fixture.reset(); }

    void slotsStandInMetaObjectOrderAndThereAreNoSignals()
    {
        const QStringList expected{u"startReceiver()"_s,
                                   u"stopReceiver()"_s,
                                   u"createOrRepairSource()"_s,
                                   u"saveSettings()"_s,
                                   u"copyMoblinAddress()"_s,
                                   u"copyPassword()"_s,
                                   u"togglePasswordVisibility()"_s,
                                   u"syncTargetPortFromListenPort()"_s,
                                   u"updateUrls()"_s,
                                   u"appendLog(QString)"_s,
                                   u"updateStatistics(int,int,double,qulonglong,qulonglong)"_s,
                                   u"queryPublicIp()"_s,
                                   u"checkForUpdatesManually()"_s,
                                   u"downloadAndInstallUpdate()"_s};
        const QMetaObject &meta = TarvolineDock::staticMetaObject;
        QCOMPARE(QString::fromLatin1(meta.className()), u"TarvolineDock"_s);
        QCOMPARE(QString::fromLatin1(meta.superClass()->className()), u"QWidget"_s);
        QStringList found;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            QCOMPARE(meta.method(i).methodType(), QMetaMethod::Slot);
            QCOMPARE(meta.method(i).access(), QMetaMethod::Public);
            // quint64 stands in the meta-object by either of its names.
            found << QString::fromLatin1(meta.method(i).methodSignature()).replace("quint64"_L1, "qulonglong"_L1);
        }
        QCOMPARE(found, expected);
        QCOMPARE(meta.propertyCount(), QWidget::staticMetaObject.propertyCount());
    }

    void dockHasItsSizesAndPolicy()
    {
        const TarvolineDock &dock = *fixture->dock;
        QCOMPARE(dock.minimumSize(), QSize(340, 360));
        QCOMPARE(dock.size(), QSize(410, 590));
        QCOMPARE(dock.sizePolicy().horizontalPolicy(), QSizePolicy::Preferred);
        QCOMPARE(dock.sizePolicy().verticalPolicy(), QSizePolicy::Preferred);
        QCOMPARE(dock.parent(), nullptr);
    }

    void outerLayoutHoldsTheScrollAreaAlone()
    {
        const auto *outer = qobject_cast<QVBoxLayout *>(fixture->dock->layout());
        QVERIFY(outer);
        QCOMPARE(outer->contentsMargins(), QMargins(0, 0, 0, 0));
        QCOMPARE(outer->count(), 1);
        const QScrollArea *area = scrollAreaOf(*fixture->dock);
        QCOMPARE(outer->itemAt(0)->widget(), area);
        QVERIFY(area->widgetResizable());
        QCOMPARE(area->frameShape(), QFrame::NoFrame);
        QCOMPARE(area->horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
        QCOMPARE(area->verticalScrollBarPolicy(), Qt::ScrollBarAsNeeded);
    }

    void columnHoldsTheGroupsInOrder()
    {
        const QVBoxLayout *column = columnOf(*fixture->dock);
        QVERIFY(column);
        QCOMPARE(column->contentsMargins(), QMargins(6, 6, 6, 6));
        QCOMPARE(column->spacing(), 6);
        QCOMPARE(column->sizeConstraint(), QLayout::SetMinAndMaxSize);
        QCOMPARE(column->count(), int(PlaceCount));
        QCOMPARE(groupAt(*fixture->dock, Status)->title(), u"Receiver-Status"_s);
        QCOMPARE(groupAt(*fixture->dock, Settings)->title(), u"Einstellungen"_s);
        QCOMPARE(groupAt(*fixture->dock, Addresses)->title(), u"Verbindungsadressen"_s);
        QVERIFY(qobject_cast<QHBoxLayout *>(column->itemAt(Buttons)->layout()));
        QCOMPARE(groupAt(*fixture->dock, Version)->title(), u"Plugin-Version"_s);
        QCOMPARE(groupAt(*fixture->dock, Log)->title(), u"Protokoll"_s);
        QVERIFY(column->itemAt(End)->spacerItem());
        QCOMPARE(column->stretch(End), 1);
    }

    void titleIsRichText()
    {
        const auto *title = qobject_cast<QLabel *>(columnOf(*fixture->dock)->itemAt(Title)->widget());
        QVERIFY(title);
        QCOMPARE(title->text(), u"<b>Tarvoline SRTLA Receiver</b>"_s);
        QCOMPARE(title->textFormat(), Qt::RichText);
    }

    void statusGroupShowsInaktiv()
    {
        const auto *layout = qobject_cast<QHBoxLayout *>(groupAt(*fixture->dock, Status)->layout());
        QVERIFY(layout);
        QCOMPARE(layout->contentsMargins(), groupMargins);
        QCOMPARE(layout->spacing(), 8);
        QCOMPARE(describe(layout), (QStringList{u"Status:"_s, u"Inaktiv"_s, u"~"_s}));
        QCOMPARE(layout->stretch(2), 1);
        const QLabel *status = DockProbe(*fixture->dock).statusLabel();
        QCOMPARE(layout->itemAt(1)->widget(), status);
        QCOMPARE(status->textInteractionFlags(), Qt::NoTextInteraction);
        QVERIFY(!groupAt(*fixture->dock, Status)->isCheckable());
    }

    void settingsFormHasItsRows()
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

    void portRowShowsBothPorts()
    {
        const DockProbe probe(*fixture->dock);
        const QFormLayout *form = formAt(*fixture->dock, Settings);
        const QHBoxLayout *row = rowOf(field(form, 0));
        QCOMPARE(row->contentsMargins(), QMargins(0, 0, 0, 0));
        QCOMPARE(row->spacing(), 5);
        QCOMPARE(describe(row), (QStringList{u"SRTLA"_s, u"[5000]"_s, u"OBS"_s, u"[5002]"_s}));
        QCOMPARE(row->itemAt(1)->widget(), probe.listenPortEdit());
        QCOMPARE(row->itemAt(3)->widget(), probe.targetPortEdit());
        QVERIFY(!probe.listenPortEdit()->isReadOnly());
        QVERIFY(probe.targetPortEdit()->isReadOnly());

        QCOMPARE(field(form, 1), probe.linkPortsCheck());
        QCOMPARE(probe.linkPortsCheck()->text(), u"OBS-Port = SRTLA + 2"_s);
        QVERIFY(probe.linkPortsCheck()->isChecked());
    }

    void hostRowHasTheQueryButtonAndTheHint()
    {
        const DockProbe probe(*fixture->dock);
        const QFormLayout *form = formAt(*fixture->dock, Settings);
        const QHBoxLayout *row = rowOf(field(form, 2));
        QCOMPARE(row->contentsMargins(), QMargins(0, 0, 0, 0));
        QCOMPARE(row->spacing(), 5);
        QCOMPARE(describe(row), (QStringList{u"[]"_s, u"IP ermitteln"_s}));
        QCOMPARE(row->itemAt(0)->widget(), probe.publicHostEdit());
        QCOMPARE(row->stretch(0), 1);
        QCOMPARE(row->stretch(1), 0);
        QCOMPARE(row->itemAt(1)->widget(), probe.queryIpButton());
        QCOMPARE(probe.queryIpButton()->maximumWidth(), 108);
        QCOMPARE(probe.queryIpButton()->toolTip(), u"Öffentliche IP-Adresse dieses Internetanschlusses ermitteln"_s);

        QCOMPARE(field(form, 3), probe.ipHintLabel());
        QCOMPARE(probe.ipHintLabel()->text(),
                 u"Öffentliche IP kann automatisch ermittelt oder manuell eingetragen werden."_s);
        QVERIFY(probe.ipHintLabel()->wordWrap());
    }

    void streamIdRowShowsLive()
    {
        const DockProbe probe(*fixture->dock);
        QCOMPARE(field(formAt(*fixture->dock, Settings), 4), probe.streamIdEdit());
        QCOMPARE(probe.streamIdEdit()->text(), u"live"_s);
    }

    void passwordRowHasItsTwoButtons()
    {
        const DockProbe probe(*fixture->dock);
        const QHBoxLayout *row = rowOf(field(formAt(*fixture->dock, Settings), 5));
        QCOMPARE(row->contentsMargins(), QMargins(0, 0, 0, 0));
        QCOMPARE(row->spacing(), 5);
        QCOMPARE(describe(row), (QStringList{u"[]"_s, u"Zeigen"_s, u"Kopieren"_s}));
        QCOMPARE(row->itemAt(0)->widget(), probe.passwordEdit());
        QCOMPARE(row->stretch(0), 0);
        QCOMPARE(probe.passwordEdit()->echoMode(), QLineEdit::Password);
        QCOMPARE(probe.passwordEdit()->placeholderText(), u"Kein Passwort"_s);
        QCOMPARE(row->itemAt(1)->widget(), probe.showPasswordButton());
        QCOMPARE(probe.showPasswordButton()->maximumWidth(), 74);
        QCOMPARE(row->itemAt(2)->widget()->maximumWidth(), 78);
    }

    void startUpSwitchesStandBelowEachOther()
    {
        const DockProbe probe(*fixture->dock);
        const auto *box = qobject_cast<QVBoxLayout *>(field(formAt(*fixture->dock, Settings), 6)->layout());
        QVERIFY(box);
        QCOMPARE(box->contentsMargins(), QMargins(0, 0, 0, 0));
        QCOMPARE(box->spacing(), 2);
        QCOMPARE(describe(box), (QStringList{u"Receiver mit OBS starten"_s, u"Quelle bei OBS-Start reparieren"_s}));
        QCOMPARE(box->itemAt(0)->widget(), probe.autoStartCheck());
        QCOMPARE(box->itemAt(1)->widget(), probe.autoSourceCheck());
    }

    void addressGroupIsClosedWithTwoRows()
    {
        const DockProbe probe(*fixture->dock);
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
        QCOMPARE(row->itemAt(0)->widget(), probe.moblinAddressEdit());
        QVERIFY(probe.moblinAddressEdit()->isReadOnly());
        const auto *copy = qobject_cast<QPushButton *>(row->itemAt(1)->widget());
        QCOMPARE(copy->text(), u"Kopieren"_s);
        QCOMPARE(copy->maximumWidth(), 78);
        QCOMPARE(rowLabel(form, 1), u"OBS:"_s);
        QCOMPARE(field(form, 1), probe.obsAddressEdit());
        QVERIFY(probe.obsAddressEdit()->isReadOnly());
    }

    void buttonRowOffersStart()
    {
        const DockProbe probe(*fixture->dock);
        const QLayout *row = columnOf(*fixture->dock)->itemAt(Buttons)->layout();
        QCOMPARE(row->spacing(), 5);
        QCOMPARE(describe(row), (QStringList{u"Start"_s, u"Stopp"_s, u"Quelle reparieren"_s}));
        QCOMPARE(row->itemAt(0)->widget(), probe.startButton());
        QCOMPARE(row->itemAt(1)->widget(), probe.stopButton());
        QVERIFY(probe.startButton()->isEnabled());
        QVERIFY(!probe.stopButton()->isEnabled());
    }

    void versionGroupHoldsTheVersionAlone()
    {
        const DockProbe probe(*fixture->dock);
        const auto *layout = qobject_cast<QVBoxLayout *>(groupAt(*fixture->dock, Version)->layout());
        QVERIFY(layout);
        QCOMPARE(layout->contentsMargins(), groupMargins);
        QCOMPARE(layout->count(), 1);
        QCOMPARE(layout->itemAt(0)->widget(), probe.versionLabel());
        QCOMPARE(probe.versionLabel()->text(), u"Installierte Version: 0.9.2"_s);
        QVERIFY(probe.versionLabel()->wordWrap());
    }

    void logGroupIsClosedWithALowLog()
    {
        const DockProbe probe(*fixture->dock);
        const QGroupBox *group = groupAt(*fixture->dock, Log);
        QVERIFY(group->isCheckable());
        QVERIFY(!group->isChecked());
        const auto *layout = qobject_cast<QVBoxLayout *>(group->layout());
        QVERIFY(layout);
        QCOMPARE(layout->contentsMargins(), groupMargins);
        QCOMPARE(layout->count(), 1);
        QCOMPARE(layout->itemAt(0)->widget(), probe.logView());
        QVERIFY(probe.logView()->isReadOnly());
        QCOMPARE(probe.logView()->maximumHeight(), 62);
    }

    void updateMachineryIsAbsent()
    {
        const DockProbe probe(*fixture->dock);
        QCOMPARE(probe.networkManager(), nullptr);
        QCOMPARE(probe.updateCheckButton(), nullptr);
        QCOMPARE(probe.installUpdateButton(), nullptr);
        QVERIFY(probe.pendingUpdateUrl().isEmpty());
        QVERIFY(probe.pendingUpdateSha256().isEmpty());
        QVERIFY(probe.pendingUpdateVersion().isEmpty());
        QVERIFY(!probe.unloading());
        QCOMPARE(probe.lastPacketCount(), quint64(0));
    }

private:
    std::optional<DockFixture> fixture;
};

QTEST_MAIN(TestDockLayout)
#include "tst_dock_layout.moc"
