// SPDX-License-Identifier: GPL-2.0-or-later
// A module for OBS that measures the plug-in's panel in OBS's theme and font: makes the dock floating, resizes it to
// several sizes, detects truncated texts and saves pictures. The environment variable TARVOLINE_PANELMETER has the
// folder for the report and the pictures.
#include "testkit/panelmeasure.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QDockWidget>
#include <QFile>
#include <QFontInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMainWindow>
#include <QScrollBar>
#include <QTimer>
#include <QToolTip>

#include <obs-frontend-api.h>
#include <obs-module.h>

using namespace Qt::StringLiterals;

OBS_DECLARE_MODULE()

namespace {

constexpr auto timeout = std::chrono::seconds(30);
constexpr int shortHeight = 360; // with a scroll bar, which takes some of the width
constexpr int tallHeight = 1000; // all groups open
constexpr int layoutRounds = 20;

template<typename Control> Control *control(const QWidget *panel, const QString &accessibleName)
{
    const QList<Control *> candidates = panel->findChildren<Control *>();
    for (Control *candidate : candidates) {
        if (candidate->accessibleName() == accessibleName) {
            return candidate;
        }
    }
    qFatal("no control %s", qPrintable(accessibleName));
}

QLabel *labelThatBeginsWith(const QWidget *panel, const QString &text)
{
    const QList<QLabel *> labels = panel->findChildren<QLabel *>();
    for (QLabel *label : labels) {
        if (label->text().startsWith(text)) {
            return label;
        }
    }
    qFatal("no label %s", qPrintable(text));
}

class Meter
{
public:
    explicit Meter(const QString &folderPath) : folder(folderPath)
    {
        auto *window = static_cast<QMainWindow *>(obs_frontend_get_main_window());
        frame = window->findChild<QDockWidget *>(u"tarvoline-srtla-dock"_s);
        panel = frame->widget();
        area = panel->findChild<QScrollArea *>();
    }

    void run()
    {
        frame->setFloating(true);
        frame->show();
        const QList<QGroupBox *> groups = panel->findChildren<QGroupBox *>();
        for (QGroupBox *group : groups) {
            group->setChecked(true);
        }
        control<QLineEdit>(panel, u"Ports: SRTLA"_s)->setText(u"60000"_s);
        measureWidths(u"usual"_s);
        fillWithLongTexts();
        measureWidths(u"long"_s);
        measureToolTip();
        writeReport();
    }

private:
    void fillWithLongTexts()
    {
        const QString longWord = QString(120, u'm');
        control<QLineEdit>(panel, u"IP / Domain"_s)->setText(u"2001:0db8:85a3:0000:0000:8a2e:0370:7334"_s);
        control<QLineEdit>(panel, u"Stream-ID"_s)->setText(longWord);
        labelThatBeginsWith(panel, u"Öffentliche IP kann"_s)
            ->setText(u"Öffentliche IP erkannt: 2001:0db8:85a3:0000:0000:8a2e:0370:7334"_s);
        labelThatBeginsWith(panel, u"Installierte"_s)->setText(u"Dienst: https://service.example/"_s + longWord);
    }

    void measureWidths(const QString &texts)
    {
        for (const int width : {340, 410, 600}) {
            for (const int height : {shortHeight, tallHeight}) {
                for (int press = 0; press < 3; ++press) { // "Ausblenden", "Anzeigen", "Ausblenden"
                    measure(texts, width, height);
                    showButton()->click();
                }
                if (showButton()->text() == "Ausblenden"_L1) {
                    showButton()->click();
                }
                resizeTo(width, height);
                if (height == tallHeight) {
                    panel->grab().save(folder.filePath(u"%1-%2.png"_s.arg(texts, QString::number(width))));
                }
            }
        }
    }

    void measure(const QString &texts, int width, int height)
    {
        resizeTo(width, height);
        const QStringList found = PanelMeasure::cutOff(area);
        if (!found.isEmpty()) {
            panel->grab().save(folder.filePath(u"found-%1-%2-%3-%4.png"_s.arg(
                texts, QString::number(width), QString::number(height), showButton()->text())));
        }
        rows.append(QJsonObject{{u"texts"_s, texts},
                                {u"width"_s, panel->width()},
                                {u"wantedWidth"_s, width},
                                {u"height"_s, height},
                                {u"words"_s, showButton()->text()},
                                {u"needsHeight"_s, area->widget()->height()},
                                {u"found"_s, QJsonArray::fromStringList(found)}});
    }

    void measureToolTip()
    {
        // A tooltip has the style of its widget; one of OBS's own widgets has the theme's style.
        const auto lookOf = [](QWidget *owner) {
            QToolTip::showText(QPoint(10, 10), u"x"_s, owner);
            QString look;
            const QWidgetList windows = QApplication::topLevelWidgets();
            for (QWidget *window : windows) {
                if (window->inherits("QTipLabel") && window->isVisible()) {
                    look = u"%1 %2x%3"_s.arg(window->grab().toImage().pixelColor(1, 1).name(),
                                             QString::number(window->width()), QString::number(window->height()));
                }
            }
            QToolTip::hideText();
            return look;
        };
        report.insert(u"toolTipOfTheTheme"_s, lookOf(frame));
        report.insert(u"toolTipOfTheButton"_s, lookOf(panel->findChild<QPushButton *>()));
    }

    void resizeTo(int width, int height)
    {
        const QSize wanted(width, height);
        const QDeadlineTimer deadline(timeout);
        do {
            frame->resize(frame->size() + wanted - panel->size());
            QCoreApplication::processEvents(QEventLoop::AllEvents);
        } while (panel->size() != wanted && !deadline.hasExpired());
        // A changed height-for-width is propagated to the parent layout by a posted event, one level per iteration.
        for (int round = 0; round < layoutRounds; ++round) {
            QCoreApplication::processEvents(QEventLoop::AllEvents);
        }
    }

    void writeReport()
    {
        const QFontInfo font(labelThatBeginsWith(panel, u"Status"_s)->font());
        report.insert(u"font"_s, font.family());
        report.insert(u"points"_s, font.pointSizeF());
        report.insert(u"scale"_s, panel->devicePixelRatioF());
        report.insert(u"rows"_s, rows);
        QFile file(folder.filePath(u"report.part"_s));
        if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(report).toJson()) < 0) {
            qFatal("no report");
        }
        file.close();
        file.rename(folder.filePath(u"report.json"_s)); // atomic, because the test waits for this file
    }

    [[nodiscard]] QPushButton *showButton() const
    {
        const QList<QPushButton *> buttons = panel->findChildren<QPushButton *>();
        for (QPushButton *button : buttons) {
            if (button->accessibleName().startsWith(u"Passwort: "_s) && button->text() != "Kopieren"_L1) {
                return button;
            }
        }
        qFatal("no button for the passphrase");
    }

    QDir folder;
    QDockWidget *frame = nullptr;
    QWidget *panel = nullptr;
    QScrollArea *area = nullptr;
    QJsonObject report;
    QJsonArray rows;
};

void measureWhenLoaded(enum obs_frontend_event event, void *)
{
    if (event == OBS_FRONTEND_EVENT_FINISHED_LOADING) {
        QTimer::singleShot(0, qApp, [] { Meter(qEnvironmentVariable("TARVOLINE_PANELMETER")).run(); });
    }
}

} // namespace

bool obs_module_load()
{
    obs_frontend_add_event_callback(measureWhenLoaded, nullptr);
    return true;
}
