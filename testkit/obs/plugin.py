# SPDX-License-Identifier: GPL-2.0-or-later
"""The built plug-in in the real OBS: its ports and its source, a desk, homes with it in them, and waiting for its picture."""

import atexit
import os
import pathlib
import shutil
import sys

from .desk import Desk
from .home import MODULE, ObsHome
from .scenes import SOURCE
from .session import ObsSession
from .wait import PATIENCE_S, wait_until

LISTEN_PORT = 5000
TARGET_PORT = 5002

# A connection that breaks because nobody finds the time to serve it costs SRT's five seconds of silence and OBS's ten until
# it listens again, and a busy machine needs several attempts.
_PICTURE_PATIENCE_S = 3 * PATIENCE_S

_PROJECT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("TARVOLINE_BUILD", _PROJECT / "build" / "linux"))

_desk = None


def scratch(name: str) -> pathlib.Path:
    """An empty folder for one test or measurement."""
    folder = BUILD / "tests" / "obs" / name
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    return folder


def desk() -> Desk:
    """The desk of this process."""
    global _desk
    if _desk is None:
        _desk = Desk(scratch(pathlib.Path(sys.argv[0]).stem + ".desk"))
        atexit.register(_desk.close)
    return _desk


def install(home: ObsHome):
    """Lays the built plug-in into a home."""
    home.install_module(BUILD / "plugins" / MODULE / "bin" / "64bit" / f"{MODULE}.so", _PROJECT / "locale")


def wait_for_picture(session: ObsSession, timeout_s: float = _PICTURE_PATIENCE_S):
    """Waits until the source shows the pattern and it moves."""
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
    """Waits until the source shows the pattern no more."""
    def ended():
        picture = session.remote.picture(SOURCE)
        return picture is None or not picture.shows_pattern()

    wait_until(ended, "the picture ends", _PICTURE_PATIENCE_S)
