// SPDX-License-Identifier: GPL-2.0-or-later
// No text of the panel is truncated at any width. Saves pictures of the panel in the build folder.
#include "docktest.h"
#include "testkit/panelmeasure.h"

#include <QDir>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr int shortHeight = 360; // with a scroll bar, which takes some of the width
constexpr int tallHeight = 1000; // all groups open, long texts

} // namespace

class TestDockWidths : public QuietDockTest
{
    Q_OBJECT

private Q_SLOTS:
    void noTextIsTruncated_data();
    void noTextIsTruncated();
    void wordLongerThanALineIsWrapped();

private:
    void savePicture(int width) const;
};

void TestDockWidths::noTextIsTruncated_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<bool>("longTexts");
    for (const int width : {340, 410, 600}) {
        for (const int height : {shortHeight, tallHeight}) {
            QTest::addRow("%d x %d", width, height) << width << height << false;
            QTest::addRow("%d x %d, long texts", width, height) << width << height << true;
        }
    }
}

void TestDockWidths::noTextIsTruncated()
{
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(bool, longTexts);
    const QList<QGroupBox *> groups = fixture->dock->findChildren<QGroupBox *>();
    for (QGroupBox *group : groups) {
        if (group->isCheckable()) {
            group->setChecked(true);
        }
    }
    probe->listenPortEdit()->setText(u"60000"_s);
    probe->statusLabel()->setText(u"Inaktiv"_s);
    if (longTexts) {
        const QString longWord(120, u'm');
        probe->publicHostEdit()->setText(u"2001:0db8:85a3:0000:0000:8a2e:0370:7334"_s);
        probe->streamIdEdit()->setText(longWord);
        probe->ipHintLabel()->setText(u"Öffentliche IP erkannt: 2001:0db8:85a3:0000:0000:8a2e:0370:7334"_s);
        probe->versionLabel()->setText(longWord);
    }
    fixture->dock->resize(width, height);
    fixture->dock->show();
    QVERIFY(QTest::qWaitForWindowExposed(fixture->dock.get()));
    QCOMPARE(fixture->dock->size(), QSize(width, height));

    const auto *area = fixture->dock->findChild<QScrollArea *>(Qt::FindDirectChildrenOnly);
    QTRY_COMPARE_WITH_TIMEOUT(area->verticalScrollBar()->isVisible(), height == shortHeight, waitMs);
    for (const QString &word : {u"Zeigen"_s, u"Ausblenden"_s, u"Anzeigen"_s}) {
        probe->showPasswordButton()->setText(word);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
        QTRY_COMPARE_WITH_TIMEOUT(PanelMeasure::cutOff(area), QStringList(), waitMs);
    }
    probe->showPasswordButton()->setText(u"Zeigen"_s);
    if (height == tallHeight && !longTexts) {
        savePicture(width);
    }
}

void TestDockWidths::wordLongerThanALineIsWrapped()
{
    QLabel *label = probe->versionLabel();
    label->setText(u"Wort"_s);
    const int oneLine = label->heightForWidth(200);
    label->setText(QString(20, u'm'));
    const int lines = label->fontMetrics().horizontalAdvance(label->text()) / 200 + 1;
    QCOMPARE_GT(lines, 1);
    QVERIFY(label->heightForWidth(200) > (lines - 1) * oneLine);
    QVERIFY(label->minimumSizeHint().width() < 200);
    label->setText(u"zwei\nZeilen"_s);
    QVERIFY(label->heightForWidth(200) > oneLine);
}

void TestDockWidths::savePicture(int width) const
{
    const QDir folder(QStringLiteral(TARVOLINE_TEST_PICTURES));
    QVERIFY(folder.mkpath(u"."_s));
    QVERIFY(fixture->dock->grab().save(folder.filePath(u"dock-%1.png"_s.arg(width))));
}

QTEST_MAIN(TestDockWidths)
#include "tst_dock_widths.moc"
