// SPDX-License-Identifier: GPL-2.0-or-later
// The panel's column and all groups except the two forms.
#include "docktest.h"
#include "panelview.h"

#include <QBoxLayout>
#include <QGroupBox>
#include <QLabel>
#include <QMetaMethod>
#include <QPushButton>
#include <QScrollArea>
#include <QTest>
#include <QTextEdit>

using namespace PanelView;
using namespace Qt::StringLiterals;

class TestDockLayout : public QuietDockTest
{
    Q_OBJECT

private Q_SLOTS:
    void metaObjectHasTheSlotsInOrderAndNoSignals();
    void dockHasItsSizesAndPolicy();
    void outerLayoutHasOnlyTheScrollArea();
    void columnHoldsTheGroupsInOrder();
    void titleIsRichText();
    void statusGroupShowsInaktiv();
    void buttonRowOffersStart();
    void versionGroupHasOnlyTheVersion();
    void logGroupIsCollapsedWithALimitedHeight();
    void updatesAreDisabled();
};

void TestDockLayout::metaObjectHasTheSlotsInOrderAndNoSignals()
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
        // The meta-object may contain either name of the type.
        found << QString::fromLatin1(meta.method(i).methodSignature()).replace("quint64"_L1, "qulonglong"_L1);
    }
    QCOMPARE(found, expected);
    QCOMPARE(meta.propertyCount(), QWidget::staticMetaObject.propertyCount());
}

void TestDockLayout::dockHasItsSizesAndPolicy()
{
    const TarvolineDock &dock = *fixture->dock;
    QCOMPARE(dock.minimumSize(), QSize(340, 360));
    QCOMPARE(dock.size(), QSize(410, 590));
    QCOMPARE(dock.sizePolicy().horizontalPolicy(), QSizePolicy::Preferred);
    QCOMPARE(dock.sizePolicy().verticalPolicy(), QSizePolicy::Preferred);
    QCOMPARE(dock.parent(), nullptr);
}

void TestDockLayout::outerLayoutHasOnlyTheScrollArea()
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

void TestDockLayout::columnHoldsTheGroupsInOrder()
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

void TestDockLayout::titleIsRichText()
{
    const auto *title = qobject_cast<QLabel *>(columnOf(*fixture->dock)->itemAt(Title)->widget());
    QVERIFY(title);
    QCOMPARE(title->text(), u"<b>Tarvoline SRTLA Receiver</b>"_s);
    QCOMPARE(title->textFormat(), Qt::RichText);
}

void TestDockLayout::statusGroupShowsInaktiv()
{
    const auto *layout = qobject_cast<QHBoxLayout *>(groupAt(*fixture->dock, Status)->layout());
    QVERIFY(layout);
    QCOMPARE(layout->contentsMargins(), groupMargins);
    QCOMPARE(layout->spacing(), 8);
    QCOMPARE(describe(layout), (QStringList{u"Status:"_s, u"Inaktiv"_s, u"~"_s}));
    QCOMPARE(layout->stretch(2), 1);
    const QLabel *status = probe->statusLabel();
    QCOMPARE(layout->itemAt(1)->widget(), status);
    QCOMPARE(status->textInteractionFlags(), Qt::NoTextInteraction);
    QVERIFY(!groupAt(*fixture->dock, Status)->isCheckable());
}

void TestDockLayout::buttonRowOffersStart()
{
    const QLayout *row = columnOf(*fixture->dock)->itemAt(Buttons)->layout();
    QCOMPARE(row->spacing(), 5);
    QCOMPARE(describe(row), (QStringList{u"Start"_s, u"Stopp"_s, u"Quelle reparieren"_s}));
    QCOMPARE(row->itemAt(0)->widget(), probe->startButton());
    QCOMPARE(row->itemAt(1)->widget(), probe->stopButton());
    QVERIFY(probe->startButton()->isEnabled());
    QVERIFY(!probe->stopButton()->isEnabled());
}

void TestDockLayout::versionGroupHasOnlyTheVersion()
{
    const auto *layout = qobject_cast<QVBoxLayout *>(groupAt(*fixture->dock, Version)->layout());
    QVERIFY(layout);
    QCOMPARE(layout->contentsMargins(), groupMargins);
    QCOMPARE(layout->count(), 1);
    QCOMPARE(layout->itemAt(0)->widget(), probe->versionLabel());
    QCOMPARE(probe->versionLabel()->text(), u"Installierte Version: 0.9.2"_s);
    QVERIFY(probe->versionLabel()->wordWrap());
    QCOMPARE(probe->versionLabel()->textFormat(), Qt::PlainText);
}

void TestDockLayout::logGroupIsCollapsedWithALimitedHeight()
{
    const QGroupBox *group = groupAt(*fixture->dock, Log);
    QVERIFY(group->isCheckable());
    QVERIFY(!group->isChecked());
    const auto *layout = qobject_cast<QVBoxLayout *>(group->layout());
    QVERIFY(layout);
    QCOMPARE(layout->contentsMargins(), groupMargins);
    QCOMPARE(layout->count(), 1);
    QCOMPARE(layout->itemAt(0)->widget(), probe->logView());
    QVERIFY(probe->logView()->isReadOnly());
    QCOMPARE(probe->logView()->maximumHeight(), 62);
}

void TestDockLayout::updatesAreDisabled()
{
    QCOMPARE(probe->networkManager(), nullptr);
    QCOMPARE(probe->updateCheckButton(), nullptr);
    QCOMPARE(probe->installUpdateButton(), nullptr);
    QVERIFY(probe->pendingUpdateUrl().isEmpty());
    QVERIFY(probe->pendingUpdateSha256().isEmpty());
    QVERIFY(probe->pendingUpdateVersion().isEmpty());
    QVERIFY(!probe->unloading());
    QCOMPARE(probe->lastPacketCount(), quint64(0));
}

QTEST_MAIN(TestDockLayout)
#include "tst_dock_layout.moc"
