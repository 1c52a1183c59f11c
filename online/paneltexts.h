// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QCoreApplication>

/// Translates texts of the panel in the context of TarvolineDock without depending on that class.
struct PanelTexts
{
    Q_DECLARE_TR_FUNCTIONS(TarvolineDock)
};
