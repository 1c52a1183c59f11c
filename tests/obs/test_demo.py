# SPDX-License-Identifier: GPL-2.0-or-later
"""./run with and without a display."""

import os
import pathlib
import signal
import socket
import subprocess
import sys
import unittest

import case
import obs
from obs import wait_until
from teststream import path_with_silent_encoder
from timelimits import OBS_TIMEOUT_S, PICTURE_TIMEOUT_S, PROGRAM_TIMEOUT_S

_DEMO = pathlib.Path(__file__).resolve().parents[2] / "tools" / "obsdemo" / "obsdemo.py"
_PNG = b"\x89PNG\r\n\x1a\n"
_LAST_LINE = "Close OBS or press Ctrl+C to end."

# An empty display has one colour.
_MINIMUM_COLOURS = 50


class DemoTest(unittest.TestCase):
    def setUp(self):
        self.folder = case.scratch(self.id().removeprefix("__main__."))
        self.shots = self.folder / "shots"
        self.users_home = self.folder / "user"
        self.users_home.mkdir()
        self.users_config = self.users_home / ".config" / "obs-studio" / "global.ini"
        obs.write_ini(self.users_config, {"General": {"LastVersion": 1}})
        self.addCleanup(self._check_users_home_is_unchanged, self.users_config.read_bytes())

    def _check_users_home_is_unchanged(self, config):
        files = [path for path in self.users_home.rglob("*") if path.is_file()]
        self.assertEqual(files, [self.users_config])
        self.assertEqual(self.users_config.read_bytes(), config)

    def _command(self, *arguments):
        return [sys.executable, "-B", _DEMO, "--folder", self.folder / "obs", "--shots", self.shots, "--build", case.BUILD,
                *arguments]

    def _environment(self, **more):
        kept = {name: value for name, value in os.environ.items() if name != "DISPLAY"}
        return kept | {"HOME": str(self.users_home)} | more

    def _run(self, *arguments, **environment):
        return subprocess.run(self._command(*arguments), env=self._environment(**environment), capture_output=True,
                              text=True, timeout=PICTURE_TIMEOUT_S + PROGRAM_TIMEOUT_S, check=False)

    def test_saves_screenshots_of_the_picture(self):
        run = self._run()
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        self.assertIn("The picture has arrived in OBS.", run.stdout)
        for name in ("obs", "dock-closed", "dock-open"):
            path = self.shots / f"{name}.png"
            self.assertIn(str(path), run.stdout)
            self.assertTrue(path.read_bytes().startswith(_PNG))

    def test_without_the_stream(self):
        run = self._run("--no-demo")
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        self.assertNotIn("test picture", run.stdout)
        self.assertTrue((self.shots / "dock-open.png").exists())

    def test_port_is_taken(self):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as other:
            other.bind(("0.0.0.0", case.LISTEN_PORT))
            run = self._run()
        self.assertEqual(run.returncode, 1, run.stdout + run.stderr)
        self.assertIn("UDP port 5000 is taken", run.stdout)

    def test_no_picture(self):
        run = self._run("--timeout", "2", PATH=path_with_silent_encoder(self.folder / "programs"))
        self.assertEqual(run.returncode, 1, run.stdout + run.stderr)
        self.assertIn("No picture within 2 s.", run.stdout)
        self.assertIn("START | SRTLA UDP 5000 → SRT 127.0.0.1:5002", run.stdout)
        self.assertFalse(self.shots.exists())

    def test_default_time_limit(self):
        run = self._run("--help")
        self.assertRegex(run.stdout, r"--timeout SECONDS\s+time limit for the picture when there is no display\s+\(60\)")

    def test_on_a_display_obs_runs_until_the_user_ends_it(self):
        desktop = case.desktop()
        log = self.folder / "output"
        with open(log, "wb") as output:
            demo = subprocess.Popen(self._command(), env=self._environment(DISPLAY=desktop.display), stdout=output,
                                    stderr=output, stdin=subprocess.DEVNULL)
        self.addCleanup(demo.kill)
        wait_until(lambda: _LAST_LINE in log.read_text() or demo.poll() is not None, log.read_text)
        self.assertIsNone(demo.poll(), log.read_text())
        self.assertIn("srtla://", log.read_text())
        self.assertIn("forward UDP port 5000", log.read_text())
        wait_until(lambda: self._colours_on(desktop) > _MINIMUM_COLOURS, "OBS is visible on the display")

        demo.send_signal(signal.SIGINT)
        self.assertEqual(demo.wait(OBS_TIMEOUT_S), 0, log.read_text())
        self.assertFalse(self.shots.exists())

    def _colours_on(self, desktop):
        picture = self.folder / "display.png"
        subprocess.run(["import", "-display", desktop.display, "-window", "root", picture], check=True)
        return int(subprocess.run(["identify", "-format", "%k", picture], capture_output=True, text=True,
                                  check=True).stdout)


if __name__ == "__main__":
    case.main()
