# SPDX-License-Identifier: GPL-2.0-or-later
"""Base of the tests with the real OBS: sessions that end with the test, logs and screenshots on failure."""

import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "testkit"))

import obs  # noqa: E402
from dockports import LISTEN_PORT, TARGET_PORT  # noqa: E402
from obs.docklayout import dock_at_the_right  # noqa: E402
from obs.plugin import (BUILD, SOURCE, desktop, install, scratch, wait_for_no_picture,  # noqa: E402
                        wait_for_picture)
from reportingcase import ReportingCase  # noqa: E402

__all__ = ["BUILD", "LISTEN_PORT", "SOURCE", "TARGET_PORT", "ObsCase", "desktop", "dock_at_the_right", "install", "main",
           "scratch", "wait_for_no_picture", "wait_for_picture"]


class ObsCase(ReportingCase):
    """A test with OBS sessions, which are killed at its end."""

    maxDiff = None

    def setUp(self):
        self.folder = scratch(self.id().removeprefix("__main__."))
        self._sessions = []
        self.addCleanup(self._clear)

    def home(self, name="home", *, dock_open=True, with_module=True) -> obs.ObsHome:
        """A new home with the plug-in installed."""
        home = obs.ObsHome(self.folder / name, dock_state=dock_at_the_right() if dock_open else None)
        if with_module:
            install(home)
        return home

    def session(self, home: obs.ObsHome | None = None, *, environment=None, **start) -> obs.ObsSession:
        """A running OBS with additional environment variables."""
        session = obs.ObsSession(desktop(), home or self.home(), environment=environment)
        self._sessions.append(session)
        return session.start(**start)

    def panel(self, session: obs.ObsSession) -> obs.Panel:
        """The opened dock of a session."""
        return obs.Panel(session.screen).open()

    def assert_destroyed(self, session: obs.ObsSession, names):
        """Checks in the log of an ended OBS that no reference to the sources leaked: they were destroyed with the scenes,
        before OBS frees the remaining objects."""
        before_cleanup = session.log().split("Freeing OBS context data")[0]
        for name in names:
            self.assertIn(f"source '{name}' destroyed", before_cleanup)

    def _clear(self):
        failed = self.has_failed()
        for number, session in enumerate(self._sessions):
            if failed and session.running():
                session.screen.screenshot(self.folder / f"failed-{number}.png")
            session.kill()
            if failed:
                print(f"files: {self.folder}\nend of the OBS log:\n{session.log()[-1500:]}", file=sys.stderr)


def main():
    """Runs the tests of the calling file."""
    unittest.main(verbosity=2)
