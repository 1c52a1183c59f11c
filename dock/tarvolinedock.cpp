// SPDX-License-Identifier: GPL-2.0-or-later
// Construction and shutdown, and the automatic start in between.
#include "tarvolinedock.h"

#include "closewatch.h"
#include "docksettings.h"

#include <QCheckBox>
#include <QMessageBox>
#include <QTimer>

#include <chrono>
#include <memory>

using namespace std::chrono_literals;

namespace {

// The source comes first, so that a listener waits when the first sender's packets are forwarded.
constexpr std::chrono::milliseconds sourceRepairDelay = 400ms;
constexpr std::chrono::milliseconds receiverStartDelay = 800ms;

} // namespace

TarvolineDock::TarvolineDock(QWidget *parent)
    : QWidget(parent), settings(DockSettings::organisation, DockSettings::application), engine(this)
{
    buildUi();
    loadSettings();
    updateUrls();
    connectEngine();
    scheduleAutomaticStart();
}

TarvolineDock::~TarvolineDock()
{
    engine.shutdown();
    releaseOpenMessageBoxes();
    releasePanel();
}

void TarvolineDock::shutdown()
{
    unloading = true;
    QObject::disconnect(&engine, nullptr, this, nullptr);
    engine.shutdown();
}

void TarvolineDock::connectEngine()
{
    // statisticsChanged stays unconnected: the signal file is written only for those who invoke the slot by name.
    connect(&engine, &SrtlaEngine::runningChanged, this, &TarvolineDock::showRunning);
    connect(&engine, &SrtlaEngine::statusChanged, this, &TarvolineDock::showStartError);
    connect(&engine, &SrtlaEngine::logMessage, this, &TarvolineDock::appendLog);
}

void TarvolineDock::scheduleAutomaticStart()
{
    // Who closes OBS within the first second gets no new source and no warning about a scene that is gone.
    const auto watch = std::make_shared<CloseWatch>(this);
    const auto unlessObsQuits = [this, watch](void (TarvolineDock::*start)()) {
        return [this, watch, start] {
            if (!unloading && !watch->isClosed()) {
                (this->*start)();
            }
        };
    };
    if (autoSourceCheck->isChecked()) {
        QTimer::singleShot(sourceRepairDelay, this, unlessObsQuits(&TarvolineDock::createOrRepairSource));
    }
    if (autoStartCheck->isChecked()) {
        QTimer::singleShot(receiverStartDelay, this, unlessObsQuits(&TarvolineDock::startReceiver));
    }
}

void TarvolineDock::releaseOpenMessageBoxes()
{
    // QMessageBox's static functions keep the box on the stack: as a child it would be deleted with the dock, beneath
    // its own event loop. Without a parent it only closes, and its event loop ends.
    const QList<QMessageBox *> boxes = findChildren<QMessageBox *>(Qt::FindDirectChildrenOnly);
    for (QMessageBox *box : boxes) {
        box->setParent(nullptr);
        box->done(QMessageBox::NoButton);
    }
}

void TarvolineDock::releasePanel()
{
    // The widgets outlive the dock's members by a moment, and an edit that loses the focus in it would still save.
    const QList<QWidget *> widgets = findChildren<QWidget *>();
    for (QWidget *widget : widgets) {
        QObject::disconnect(widget, nullptr, this, nullptr);
    }
}
