// SPDX-License-Identifier: GPL-2.0-or-later
// Loading and saving of the panel's values.
#include "docksettings.h"
#include "tarvolinedock.h"

#include <QCheckBox>
#include <QLineEdit>

#include <limits>

namespace {

// Offset of the OBS port from the SRTLA port when the ports are linked.
constexpr int linkedPortOffset = 2;
constexpr int highestPort = std::numeric_limits<quint16>::max();

// The number in a port edit, or 0 when the text is no number from 1 to `highest`.
int portNumber(const QString &text, int highest)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    return isNumber && number >= 1 && number <= highest ? number : 0;
}

} // namespace

void TarvolineDock::loadSettings()
{
    // The widgets' signals are not blocked: a changed value runs the widget's handlers, and the following lines read
    // the values that these handlers have saved.
    listenPortEdit->setText(settings.value(DockSettings::listenPort, int{DockSettings::defaultListenPort}).toString());
    targetPortEdit->setText(settings.value(DockSettings::targetPort, int{DockSettings::defaultTargetPort}).toString());
    publicHostEdit->setText(settings.value(DockSettings::publicHost, QString()).toString());
    streamIdEdit->setText(settings.value(DockSettings::streamId, QString(DockSettings::defaultStreamId)).toString());
    passwordEdit->setText(settings.value(DockSettings::password, QString()).toString());
    autoStartCheck->setChecked(settings.value(DockSettings::autoStart, DockSettings::defaultAutoStart).toBool());
    autoSourceCheck->setChecked(settings.value(DockSettings::autoSource, DockSettings::defaultAutoSource).toBool());
    linkPortsCheck->setChecked(settings.value(DockSettings::linkPorts, DockSettings::defaultLinkPorts).toBool());

    targetPortEdit->setReadOnly(linkPortsCheck->isChecked());
    if (linkPortsCheck->isChecked()) {
        syncTargetPortFromListenPort();
    }
}

void TarvolineDock::saveSettings()
{
    settings.setValue(DockSettings::listenPort, listenPortEdit->text());
    settings.setValue(DockSettings::targetPort, targetPortEdit->text());
    settings.setValue(DockSettings::publicHost, publicHostEdit->text());
    settings.setValue(DockSettings::streamId, streamIdEdit->text());
    settings.setValue(DockSettings::password, passwordEdit->text());
    settings.setValue(DockSettings::autoStart, autoStartCheck->isChecked());
    settings.setValue(DockSettings::autoSource, autoSourceCheck->isChecked());
    settings.setValue(DockSettings::linkPorts, linkPortsCheck->isChecked());
    settings.sync();
}

quint16 TarvolineDock::parsePort(QLineEdit *edit, quint16 fallback)
{
    const int port = portNumber(edit->text(), highestPort);
    return port == 0 ? fallback : static_cast<quint16>(port);
}

void TarvolineDock::syncTargetPortFromListenPort()
{
    if (!linkPortsCheck || !linkPortsCheck->isChecked()) {
        return;
    }
    const int listenPort = portNumber(listenPortEdit->text(), highestPort - linkedPortOffset);
    if (listenPort == 0) {
        return;
    }
    const QSignalBlocker blocker(targetPortEdit);
    targetPortEdit->setText(QString::number(listenPort + linkedPortOffset));
    updateUrls();
    saveSettings();
}

void TarvolineDock::applyPortLink(bool linked)
{
    targetPortEdit->setReadOnly(linked);
    if (linked) {
        syncTargetPortFromListenPort();
    }
    saveSettings();
}
