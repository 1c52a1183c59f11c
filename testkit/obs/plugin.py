# SPDX-License-Identifier: GPL-2.0-or-later
"""The built plug-in in the real OBS: source, desktop, installation, waiting for the picture."""

import atexit
import os
import pathlib
import shutil
import sys

from timelimits import PICTURE_TIMEOUT_S
from wait import wait_until

from .desktop import Desktop
from .home import MODULE, ObsHome
from .scenes import SOURCE
from .session import ObsSession

_PROJECT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("TARVOLINE_BUILD", _PROJECT / "build" / "linux"))

_desktop = None


def scratch(name: str) -> pathlib.Path:
    """An empty folder for one test or measurement."""
    folder = BUILD / "tests" / "obs" / name
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    return folder


def desktop() -> Desktop:
    """The desktop of this process."""
    global _desktop
    if _desktop is None:
        _desktop = Desktop(scratch(pathlib.Path(sys.argv[0]).stem + ".desktop"))
        atexit.register(_desktop.close)
    return _desktop


def install(home: ObsHome):
    """Installs the built plug-in into a home."""
    home.install_module(BUILD / "plugins" / MODULE / "bin" / "64bit" / f"{MODULE}.so", _PROJECT / "locale")


def wait_for_picture(session: ObsSession, timeout_s: float = PICTURE_TIMEOUT_S):
    """Waits until the source shows the pattern and it blinks."""
    seen = set()

    def moves():
        picture = session.remote.picture(SOURCE)
        if picture is None or not picture.shows_pattern():
            seen.clear()
            return False
        seen.add(picture.blink())
        return len(seen) == 2

    def state():
        picture = session.remote.picture(SOURCE)
        return (f"a running picture; the source is {session.remote.media_state(SOURCE)} and shows "
                f"{picture.bars() if picture else 'nothing'}")

    wait_until(moves, state, timeout_s)


def wait_for_no_picture(session: ObsSession):
    """Waits until the source stops showing the pattern."""
    def ended():
        picture = session.remote.picture(SOURCE)
        return picture is None or not picture.shows_pattern()

    wait_until(ended, "the picture ends", PICTURE_TIMEOUT_S)
