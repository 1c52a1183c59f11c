// SPDX-License-Identifier: GPL-2.0-or-later
// The drawn panel, from its narrowest on: every word is shown whole. Leaves pictures of it in the build folder.
#include "dockfixture.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QStyle>
#include <QStyleOptionButton>
#include <QStyleOptionFrame>
#include <QStyleOptionGroupBox>
#include <QTest>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr int shortHeight = 360; // with a scroll bar, which takes some of the width
constexpr int tallHeight = 760;  // all groups open

int textWidth(const QWidget *widget, const QString &text)
{
    return widget->fontMetrics().size(Qt::TextShowMnemonic, text).width();
}

/// How many pixels wide the style leaves for the text of a control.
int roomInButton(const QAbstractButton *button, QStyle::SubElement element)
{
    QStyleOptionButton option;
    option.initFrom(button);
    if (const auto *box = qobject_cast<const QCheckBox *>(button)) {
        option.state |= box->isChecked() ? QStyle::State_On : QStyle::State_Off;
    }
    return button->style()->subElementRect(element, &option, button).width();
}

int roomInEdit(const QLineEdit *edit)
{
    QStyleOptionFrame option;
    option.initFrom(edit);
    option.lineWidth = edit->style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &option, edit);
    constexpr int marginInsideQLineEdit = 2; // on each side, Qt's own
    return edit->style()->subElementRect(QStyle::SE_LineEditContents, &option, edit).width() -
           2 * marginInsideQLineEdit;
}

int roomInGroup(const QGroupBox *group)
{
    QStyleOptionGroupBox option;
    option.initFrom(group);
    option.text = group->title();
    option.subControls = QStyle::SC_GroupBoxLabel;
    if (group->isCheckable()) {
        option.subControls |= QStyle::SC_GroupBoxCheckBox;
    }
    const QRect title = group->style()->subControlRect(QStyle::CC_GroupBox, &option, QStyle::SC_GroupBoxLabel, group);
    return title.intersected(group->rect()).width();
}

/// How many pixels a label lacks in width or height to show its text.
int lackingIn(const QLabel *label)
{
    if (label->wordWrap()) {
        return std::max(label->minimumSizeHint().width() - label->width(),
                        label->heightForWidth(label->width()) - label->height());
    }
    const QSize lacking = label->sizeHint() - label->size();
    return std::max(lacking.width(), lacking.height());
}

int lackingIn(const QWidget *widget)
{
    if (const auto *label = qobject_cast<const QLabel *>(widget)) {
        return lackingIn(label);
    }
    if (const auto *box = qobject_cast<const QCheckBox *>(widget)) {
        return textWidth(box, box->text()) - roomInButton(box, QStyle::SE_CheckBoxContents);
    }
    if (const auto *button = qobject_cast<const QPushButton *>(widget)) {
        return textWidth(button, button->text()) - roomInButton(button, QStyle::SE_PushButtonContents);
    }
    if (const auto *group = qobject_cast<const QGroupBox *>(widget)) {
        return textWidth(group, group->title()) - roomInGroup(group);
    }
    return 0;
}

/// What in \a area reaches beyond its sides or cuts its own text off, and by how much. Empty margins may leave.
QString cutOff(const QScrollArea *area)
{
    QStringList found;
    const QWidget *viewport = area->viewport();
    const QList<QWidget *> widgets = area->widget()->findChildren<QWidget *>();
    for (const QWidget *widget : widgets) {
        const int left = widget->mapTo(viewport, QPoint()).x();
        const int beyond = std::max(-left, left + widget->width() - viewport->width());
        const int lacking = lackingIn(widget);
        if (widget->isVisible() && (beyond > 0 || lacking > 0)) {
            const QString text = widget->property("text").toString() + widget->property("title").toString();
            found << u"%1 \"%2\": %3 pixels beyond the side, %4 lacking for the text"_s.arg(
                QLatin1StringView(widget->metaObject()->className()), text, QString::number(beyond),
                QString::number(lacking));
        }
    }
    return found.join(u'\n');
}

} // namespace

class TestDockWidths : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        fixture.emplace();
        fixture->buildQuiet();
    }
    void cleanup() { fixture.reset(); }

    void noWordIsCutOff_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        for (const int width : {340, 410, 600}) {
            for (const int height : {shortHeight, tallHeight}) {
                QTest::addRow("%d x %d", width, height) << width << height;
            }
        }
    }

    void noWordIsCutOff()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        const DockProbe probe(*fixture->dock);
        const QList<QGroupBox *> groups = fixture->dock->findChildren<QGroupBox *>();
        for (QGroupBox *group : groups) {
            if (group->isCheckable()) {
                group->setChecked(true);
            }
        }
        probe.listenPortEdit()->setText(u"60000"_s);
        probe.statusLabel()->setText(u"Inaktiv"_s);
        fixture->dock->resize(width, height);
        fixture->dock->show();
        QVERIFY(QTest::qWaitForWindowExposed(fixture->dock.get()));
        QCOMPARE(fixture->dock->size(), QSize(width, height));

        const auto *area = fixture->dock->findChild<QScrollArea *>(Qt::FindDirectChildrenOnly);
        QTRY_COMPARE(area->verticalScrollBar()->isVisible(), height == shortHeight);
        for (const QString &word : {u"Zeigen"_s, u"Ausblenden"_s, u"Anzeigen"_s}) {
            probe.showPasswordButton()->setText(word);
            QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
            QTRY_COMPARE(cutOff(area), QString());
        }
        probe.showPasswordButton()->setText(u"Zeigen"_s);
        for (const QLineEdit *port : {probe.listenPortEdit(), probe.targetPortEdit()}) {
            QVERIFY2(roomInEdit(port) >= textWidth(port, port->text()), qPrintable(QString::number(roomInEdit(port))));
        }
        QVERIFY(roomInEdit(probe.passwordEdit()) >=
                textWidth(probe.passwordEdit(), probe.passwordEdit()->placeholderText()));
        if (height == tallHeight) {
            savePicture(width);
        }
    }

private:
    void savePicture(int width) const
    {
        const QDir folder(QStringLiteral(TARVOLINE_TEST_PICTURES));
        QVERIFY(folder.mkpath(u"."_s));
        QVERIFY(fixture->dock->grab().save(folder.filePath(u"dock-%1.png"_s.arg(width))));
    }

    std::optional<DockFixture> fixture;
};

QTEST_MAIN(TestDockWidths)
#include "tst_dock_widths.moc"
