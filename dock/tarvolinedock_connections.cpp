// SPDX-License-Identifier: GPL-2.0-or-later
// Signal connections of the panel's widgets.
#include "panelparts.h"
#include "tarvolinedock.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTextEdit>

namespace {

void showChildren(QWidget *group, bool visible)
{
    const QList<QWidget *> children = group->findChildren<QWidget *>(Qt::FindDirectChildrenOnly);
    for (QWidget *child : children) {
        child->setVisible(visible);
    }
}

} // namespace

void TarvolineDock::connectUi(const PanelParts &parts)
{
    connect(startButton, &QPushButton::clicked, this, &TarvolineDock::startReceiver);
    connect(stopButton, &QPushButton::clicked, this, &TarvolineDock::stopReceiver);
    connect(parts.repairButton, &QPushButton::clicked, this, &TarvolineDock::createOrRepairSource);
    connect(parts.copyAddressButton, &QPushButton::clicked, this, &TarvolineDock::copyMoblinAddress);
    connect(showPasswordButton, &QPushButton::clicked, this, &TarvolineDock::togglePasswordVisibility);
    connect(parts.copyPasswordButton, &QPushButton::clicked, this, &TarvolineDock::copyPassword);
    connect(queryIpButton, &QPushButton::clicked, this, &TarvolineDock::queryPublicIp);
    connect(parts.connectionGroup, &QGroupBox::toggled, this,
            [group = parts.connectionGroup](bool on) { showChildren(group, on); });
    connect(parts.logGroup, &QGroupBox::toggled, this, [this](bool on) { logView->setVisible(on); });
    connectEdits();
    connect(autoStartCheck, &QCheckBox::toggled, this, &TarvolineDock::saveSettings);
    connect(autoSourceCheck, &QCheckBox::toggled, this, &TarvolineDock::saveSettings);

    // Initial state: the groups were created before these signals were connected.
    targetPortEdit->setReadOnly(linkPortsCheck->isChecked());
    showChildren(parts.connectionGroup, false);
    logView->hide();
}

void TarvolineDock::connectEdits()
{
    // Connected before updateUrls, so that the addresses are computed with the linked port.
    connect(listenPortEdit, &QLineEdit::textChanged, this, &TarvolineDock::syncTargetPortFromListenPort);
    connect(linkPortsCheck, &QCheckBox::toggled, this, &TarvolineDock::applyPortLink);
    for (QLineEdit *edit : {listenPortEdit, targetPortEdit, publicHostEdit, streamIdEdit, passwordEdit}) {
        connect(edit, &QLineEdit::textChanged, this, &TarvolineDock::updateUrls);
        connect(edit, &QLineEdit::editingFinished, this, &TarvolineDock::saveSettings);
    }
}
