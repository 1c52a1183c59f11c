// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "testkit/dockprobe.h"
#include "testkit/messageboxes.h"
#include "testkit/obsdouble.h"
#include "testkit/settingsstore.h"

#include <memory>

/// One test's world: an OBS with a scene, an empty settings store, a user who presses Ok, and no dock yet.
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

    /// Keeps the dock from repairing and starting by itself. Both loads end with what is stored here.
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

    /// Builds a dock that does nothing by itself.
    DockProbe buildQuiet()
    {
        switchAutomaticsOff();
        return build();
    }

    SettingsStore store;
    MessageBoxes boxes;
    std::unique_ptr<TarvolineDock> dock;
};
