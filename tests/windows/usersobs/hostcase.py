# SPDX-License-Identifier: GPL-2.0-or-later
"""Base of the tests with OBS's own Windows libraries: a Wine prefix per test, programs that end with the test."""

import os
import pathlib
import shutil
import sys
import unittest

_PROJECT = pathlib.Path(__file__).resolve().parents[3]
sys.path += [str(_PROJECT / "testkit"), str(_PROJECT / "tests" / "windows")]

from dockports import LISTEN_PORT  # noqa: E402
from reportingcase import ReportingCase  # noqa: E402
from teststream import MobileSender  # noqa: E402
from windowsobs import BUILD, UNLOADED, WindowsObs  # noqa: E402
from winemachine import WineMachine  # noqa: E402

CREATED = "OBS | Neue SRT-Quelle angelegt"
UPDATED = "OBS | Vorhandene SRT-Quelle aktualisiert"
STARTED = "START | SRTLA UDP 5000 → SRT 127.0.0.1:5002"

# The size of the test picture, so that it fills OBS's canvas.
_CANVAS = (336, 192)


class HostCase(ReportingCase):
    """A test with a new Wine prefix and a folder for its files."""

    maxDiff = None

    def setUp(self):
        self.folder = scratch(self)
        self.folder.mkdir(parents=True)
        self.machine = WineMachine(_PROJECT / "tools" / "wine", dict(os.environ))
        self.addCleanup(self.machine.close)

    def obs(self, *, draws=True) -> WindowsObs:
        """A running OBS with the module, which starts its receiver."""
        obs = WindowsObs(self.folder, canvas=_CANVAS if draws else None, environment=self.machine.environment)
        self.addCleanup(obs.kill)
        self.addCleanup(self._print_on_failure, obs)
        return obs

    def ready_obs(self) -> WindowsObs:
        """An OBS that draws, with a running receiver and a media source."""
        obs = self.obs()
        obs.wait_for_status("Aktiv")
        obs.repair(CREATED)
        return obs

    def sender(self, **options) -> MobileSender:
        """The test stream over three links, not started."""
        sender = MobileSender(self.folder, LISTEN_PORT, **options)
        self.addCleanup(sender.stop)
        return sender

    def quit(self, obs: WindowsObs):
        """Quits OBS; checks that the module is unloaded and that the process ends without errors."""
        code = obs.quit()
        self.assertEqual(code, 0, obs.tail())
        self.assertIn(UNLOADED, obs.obs_log())
        self.assertEqual(obs.objects[-1]["event"], "ended")

    def _print_on_failure(self, obs):
        if self.has_failed():
            print(f"files: {self.folder}\nlast events of the host:\n{obs.tail()}", file=sys.stderr)


def scratch(test: unittest.TestCase) -> pathlib.Path:
    """The folder for the files of a test, which does not exist yet."""
    folder = BUILD / "tests" / "usersobs" / test.id().removeprefix("__main__.")
    shutil.rmtree(folder, ignore_errors=True)
    return folder


def main():
    """Runs the tests of the calling file."""
    unittest.main(verbosity=2)
