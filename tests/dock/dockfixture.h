// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "testkit/dockprobe.h"
#include "testkit/messageboxes.h"
#include "testkit/obsdouble.h"
#include "testkit/settingsstore.h"

#include <memory>

/// Environment of a dock: the libobs double with one scene, an empty settings store, and message boxes that are
/// answered with Ok. The dock itself is created by build().
class DockFixture
{
public:
    DockFixture() { ObsDouble::reset(); }
    ~DockFixture()
    {
        dock.reset();
        ObsDouble::quitFrontend();
    }
    Q_DISABLE_COPY_MOVE(DockFixture)

    /// Disables the automatic source repair and receiver start.
    void switchAutomaticsOff()
    {
        store.set(QStringLiteral("autoStart"), false);
        store.set(QStringLiteral("autoSource"), false);
    }

    DockProbe build()
    {
        dock = std::make_unique<TarvolineDock>();
        return DockProbe(*dock);
    }

    /// Builds a dock without automatic actions.
    DockProbe buildQuiet()
    {
        switchAutomaticsOff();
        return build();
    }

    SettingsStore store;
    MessageBoxes boxes;
    std::unique_ptr<TarvolineDock> dock;
};
