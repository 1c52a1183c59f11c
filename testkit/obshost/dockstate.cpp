// SPDX-License-Identifier: GPL-2.0-or-later
#include "dockstate.h"

#include "frontend.h"
#include "report.h"

#include <QApplication>
#include <QCheckBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTextEdit>
#include <obs.hpp>

#include <array>

using namespace Qt::StringLiterals;

namespace {
constexpr auto sourceName = "Tarvoline SRTLA";
// In the order of obs_media_state.
constexpr std::array mediaStates{"none"_L1,   "playing"_L1, "opening"_L1, "buffering"_L1,
                                 "paused"_L1, "stopped"_L1, "ended"_L1,   "error"_L1};

void addDock(QJsonObject &state, const QWidget &dock)
{
    QJsonArray labels;
    QJsonObject edits;
    QJsonObject checks;
    QJsonObject buttons;
    for (const QLabel *label : dock.findChildren<QLabel *>()) {
        labels.append(label->text());
    }
    for (const QLineEdit *edit : dock.findChildren<QLineEdit *>()) {
        edits.insert(edit->accessibleName(), edit->text());
    }
    for (const QCheckBox *check : dock.findChildren<QCheckBox *>()) {
        checks.insert(check->text(), check->isChecked());
    }
    for (const QPushButton *button : dock.findChildren<QPushButton *>()) {
        buttons.insert(button->text(), button->isEnabled());
    }
    state.insert(u"labels"_s, labels);
    state.insert(u"edits"_s, edits);
    state.insert(u"checks"_s, checks);
    state.insert(u"buttons"_s, buttons);
}

QMessageBox *openMessageBox()
{
    return qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
}

void addSource(QJsonObject &state)
{
    const OBSSourceAutoRelease source = obs_get_source_by_name(sourceName);
    if (!source) {
        return;
    }
    const OBSDataAutoRelease settings = obs_source_get_settings(source);
    state.insert(u"source"_s,
                 QJsonObject{{u"kind"_s, QString::fromUtf8(obs_source_get_id(source))},
                             {u"settings"_s, QJsonDocument::fromJson(obs_data_get_json(settings)).object()},
                             {u"media"_s, mediaStates.at(static_cast<size_t>(obs_source_media_get_state(source)))},
                             {u"width"_s, static_cast<int>(obs_source_get_width(source))},
                             {u"height"_s, static_cast<int>(obs_source_get_height(source))}});
}
} // namespace

QJsonObject currentState(const Frontend &frontend)
{
    QJsonObject state;
    if (frontend.dock()) {
        addDock(state, *frontend.dock());
    }
    if (const QMessageBox *box = openMessageBox()) {
        state.insert(u"box"_s, QJsonObject{{u"title"_s, box->windowTitle()}, {u"text"_s, box->text()}});
    }
    state.insert(u"items"_s, QJsonArray::fromStringList(frontend.sceneItems()));
    addSource(state);
    return state;
}

QAbstractButton *defaultButtonOfMessageBox()
{
    const QMessageBox *box = openMessageBox();
    return box ? box->defaultButton() ? box->defaultButton() : box->buttons().value(0) : nullptr;
}

void reportDockLog(const QWidget &dock)
{
    const QTextEdit *log = dock.findChild<QTextEdit *>();
    QObject::connect(log, &QTextEdit::textChanged, log,
                     [log] { report("dockLog", {{u"line"_s, log->toPlainText().section(u'\n', -1)}}); });
}
