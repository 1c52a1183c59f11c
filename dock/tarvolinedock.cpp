// SPDX-License-Identifier: GPL-2.0-or-later
// Construction, automatic start and shutdown.
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

// The source is repaired first, so that its listener exists when the first packets are forwarded.
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
    // statisticsChanged stays unconnected: the statistics file is written only when the slot is invoked by name.
    connect(&engine, &SrtlaEngine::runningChanged, this, &TarvolineDock::showRunning);
    connect(&engine, &SrtlaEngine::statusChanged, this, &TarvolineDock::showStartError);
    connect(&engine, &SrtlaEngine::logMessage, this, &TarvolineDock::appendLog);
}

void TarvolineDock::scheduleAutomaticStart()
{
    // If OBS is closed within the first second, no source is created and no warning is shown.
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
    // QMessageBox's static functions create the box on the stack. As a child it would be deleted with the dock inside
    // its own event loop; without a parent it is closed, which ends the event loop.
    const QList<QMessageBox *> boxes = findChildren<QMessageBox *>(Qt::FindDirectChildrenOnly);
    for (QMessageBox *box : boxes) {
        box->setParent(nullptr);
        box->done(QMessageBox::NoButton);
    }
}

void TarvolineDock::releasePanel()
{
    // The widgets are destroyed after the dock's members; an edit that loses the focus then would still save.
    const QList<QWidget *> widgets = findChildren<QWidget *>();
    for (QWidget *widget : widgets) {
        QObject::disconnect(widget, nullptr, this, nullptr);
    }
}
