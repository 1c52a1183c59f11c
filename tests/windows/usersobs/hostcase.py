# SPDX-License-Identifier: GPL-2.0-or-later
"""What the tests with OBS's own Windows libraries share: machines and programs that end with the test."""

import os
import pathlib
import shutil
import sys
import unittest

_PROJECT = pathlib.Path(__file__).resolve().parents[3]
sys.path += [str(_PROJECT / "testkit"), str(_PROJECT / "tests" / "windows")]

from teststream import MobileSender  # noqa: E402
from windowsobs import BUILD, LISTEN_PORT, UNLOADED, WindowsObs  # noqa: E402
from winemachine import WineMachine  # noqa: E402

MADE = "OBS | Neue SRT-Quelle angelegt"
UPDATED = "OBS | Vorhandene SRT-Quelle aktualisiert"
STARTED = "START | SRTLA UDP 5000 → SRT 127.0.0.1:5002"
SETTINGS_KEY = r"HKCU\Software\Tarvoline\SRTLA OBS Plugin"

# The test picture's own size: what OBS draws is the picture.
_CANVAS = (336, 192)


class HostCase(unittest.TestCase):
    """A test with a Windows machine of its own on which nothing has run yet."""

    maxDiff = None

    def setUp(self):
        self.folder = BUILD / "tests" / "usersobs" / self.id().removeprefix("__main__.")
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir(parents=True)
        self.machine = WineMachine(_PROJECT / "tools" / "wine", dict(os.environ))
        self.addCleanup(self.machine.close)

    def obs(self, *, draws=True) -> WindowsObs:
        """A running OBS with the module, whose receiver has been started by itself or has failed to."""
        obs = WindowsObs(self.folder, canvas=_CANVAS if draws else None, environment=self.machine.environment)
        self.addCleanup(obs.kill)
        self.addCleanup(self._print_end, obs)
        return obs

    def ready_obs(self) -> WindowsObs:
        """An OBS that draws, with the receiver running and the media source made."""
        obs = self.obs()
        obs.wait_for_status("Aktiv")
        obs.repair(MADE)
        return obs

    def sender(self, **options) -> MobileSender:
        """The test stream over three links; to be started."""
        sender = MobileSender(self.folder, LISTEN_PORT, **options)
        self.addCleanup(sender.stop)
        return sender

    def quit(self, obs: WindowsObs):
        """Ends OBS; the module must have been unloaded, and nothing have crashed or stayed."""
        code = obs.quit()
        self.assertEqual(code, 0, obs.tail())
        self.assertIn(UNLOADED, obs.obs_log())
        self.assertEqual(obs.objects[-1]["event"], "ended")

    def _print_end(self, obs):
        result = self._outcome.result
        if any(test is self for test, _ in [*result.failures, *result.errors]):
            print(f"evidence in {self.folder}\nlast events of the host:\n{obs.tail()}", file=sys.stderr)


def main():
    """Runs the tests of the calling file."""
    unittest.main(verbosity=2)
