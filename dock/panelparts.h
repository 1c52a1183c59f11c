// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "tarvolinedock.h"

class QGroupBox;
class QPushButton;

/// Widgets that are used only while the panel is built and connected.
struct TarvolineDock::PanelParts
{
    QGroupBox *connectionGroup = nullptr;
    QGroupBox *logGroup = nullptr;
    QPushButton *copyAddressButton = nullptr;
    QPushButton *copyPasswordButton = nullptr;
    QPushButton *repairButton = nullptr;
};
