# SPDX-License-Identifier: GPL-2.0-or-later
"""What the tests with the real OBS share: a desk, homes of their own, and evidence when one fails."""

import atexit
import os
import pathlib
import shutil
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "support"))

import obs  # noqa: E402
from obs.docklayout import dock_at_the_right  # noqa: E402

SOURCE = "Tarvoline SRTLA"
LISTEN_PORT = 5000
TARGET_PORT = 5002

# A connection that breaks because nobody finds the time to serve it costs SRT's five seconds of silence and OBS's ten until
# it listens again, and a busy machine needs several attempts.
_PICTURE_PATIENCE_S = 3 * obs.PATIENCE_S

_PROJECT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("TARVOLINE_BUILD", _PROJECT / "build" / "linux"))

_desk = None


def scratch(name: str) -> pathlib.Path:
    """An empty folder for one test."""
    folder = BUILD / "tests" / "obs" / name
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    return folder


def desk() -> obs.Desk:
    """The desk of this test process."""
    global _desk
    if _desk is None:
        _desk = obs.Desk(scratch(pathlib.Path(sys.argv[0]).stem + ".desk"))
        atexit.register(_desk.close)
    return _desk


def install(home: obs.ObsHome):
    """Lays the built plug-in into a home."""
    home.install_module(BUILD / "plugins" / obs.MODULE / "bin" / "64bit" / f"{obs.MODULE}.so", _PROJECT / "locale")


def wait_for_picture(session: obs.ObsSession, timeout_s: float = _PICTURE_PATIENCE_S):
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

    obs.wait_until(moves, state, timeout_s)


def wait_for_no_picture(session: obs.ObsSession):
    """Waits until the source shows the pattern no more."""
    def ended():
        picture = session.remote.picture(SOURCE)
        return picture is None or not picture.shows_pattern()

    obs.wait_until(ended, "the picture ends", _PICTURE_PATIENCE_S)


class ObsCase(unittest.TestCase):
    """A test that starts OBS sessions; what it leaves is killed."""

    maxDiff = None

    def setUp(self):
        self.folder = scratch(self.id().removeprefix("__main__."))
        self._sessions = []
        self.addCleanup(self._clear)

    def home(self, name="home", *, dock_open=True, with_module=True) -> obs.ObsHome:
        """A home with the plug-in in it, in which OBS has never run."""
        home = obs.ObsHome(self.folder / name, dock_state=dock_at_the_right() if dock_open else None)
        if with_module:
            install(home)
        return home

    def session(self, home: obs.ObsHome | None = None, **start) -> obs.ObsSession:
        """A running OBS."""
        session = obs.ObsSession(desk(), home or self.home())
        self._sessions.append(session)
        return session.start(**start)

    def panel(self, session: obs.ObsSession) -> obs.Panel:
        """The dock of a session, on the screen."""
        return obs.Panel(session.screen).open()

    def assert_destroyed(self, session: obs.ObsSession, names):
        """Checks in the log of an OBS that ended that nobody kept a reference to these sources: OBS destroyed them as its
        scenes went, and not with what it clears away at last."""
        before_the_rest = session.log().split("Freeing OBS context data")[0]
        for name in names:
            self.assertIn(f"source '{name}' destroyed", before_the_rest)

    def _clear(self):
        failed = any(error for _, error in getattr(self._outcome.result, "failures", []) +
                     getattr(self._outcome.result, "errors", []) if _ is self)
        for number, session in enumerate(self._sessions):
            if failed and session.running():
                session.screen.screenshot(self.folder / f"failed-{number}.png")
            session.kill()
            if failed:
                print(f"evidence in {self.folder}\nend of the OBS log:\n{session.log()[-1500:]}", file=sys.stderr)


def main():
    """Runs the tests of the calling file."""
    unittest.main(verbosity=2)
