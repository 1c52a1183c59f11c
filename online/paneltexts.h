// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QCoreApplication>

/// Translates texts of the panel in the context of its class, for what needs nothing else of it.
struct PanelTexts
{
    Q_DECLARE_TR_FUNCTIONS(TarvolineDock)
};
