#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Creates the guide's picture docs/dock-andocken.png: the floating dock of a new OBS, and the dock in the main window.

Runs the real OBS in German twice on a virtual display: ./dev python3 tools/obsdemo/dockpicture.py
"""

import pathlib
import subprocess
import sys
import tempfile

_PROJECT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(_PROJECT / "testkit"))

import obs  # noqa: E402
from obs.docklayout import dock_at_the_right  # noqa: E402

_MODULE = _PROJECT / "build" / "linux" / "plugins" / obs.MODULE / "bin" / "64bit" / f"{obs.MODULE}.so"
_PICTURE = _PROJECT / "docs" / "dock-andocken.png"
_WIDTH = 1600  # of both halves together, in pixels
_GAP = 20


class GermanHome(obs.ObsHome):
    """An OBS configuration in German."""

    def _user_settings(self) -> dict:
        settings = super()._user_settings()
        settings["General"]["Language"] = "de-DE"
        return settings


def shoot(desktop, folder, name, dock_state):
    """Saves OBS's window with the dock open; returns the file."""
    home = GermanHome(folder / name, canvas=(1280, 720), dock_state=dock_state)
    home.install_module(_MODULE, _PROJECT / "locale")
    picture = folder / f"{name}.png"
    with obs.ObsSession(desktop, home) as session:
        session.start()
        obs.Panel(session.screen).open().wait_for_status("Aktiv")
        session.screen.screenshot(picture, session.screen.main_window())
        session.interrupt()
    return picture


def main() -> int:
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        with obs.Desktop(folder / "desktop") as desktop:
            first = shoot(desktop, folder, "first", None)
            docked = shoot(desktop, folder, "docked", dock_at_the_right())
        subprocess.run(["convert", first, "-size", f"{_GAP}x1", "xc:white", docked, "+append", "-resize", f"{_WIDTH}x",
                        "-strip", "-colors", "128", _PICTURE], check=True)
    print(f"Saved {_PICTURE}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
