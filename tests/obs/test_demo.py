# SPDX-License-Identifier: GPL-2.0-or-later
"""What ./run starts, on a machine without a display."""

import os
import pathlib
import socket
import subprocess
import sys
import unittest

import case

_DEMO = pathlib.Path(__file__).resolve().parents[2] / "tools" / "obsdemo" / "obsdemo.py"
_PNG = b"\x89PNG\r\n\x1a\n"


class DemoTest(unittest.TestCase):
    def setUp(self):
        self.folder = case.scratch(self.id().removeprefix("__main__."))
        self.shots = self.folder / "shots"

    def _run(self, *arguments):
        environment = {name: value for name, value in os.environ.items() if name != "DISPLAY"}
        return subprocess.run(
            [sys.executable, "-B", _DEMO, "--folder", self.folder / "obs", "--shots", self.shots, "--build", case.BUILD,
             *arguments],
            env=environment, capture_output=True, text=True, timeout=300, check=False)

    def test_it_shows_the_picture_and_saves_what_is_seen(self):
        run = self._run()
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        self.assertIn("The picture has arrived in OBS.", run.stdout)
        for name in ("obs", "dock-closed", "dock-open"):
            path = self.shots / f"{name}.png"
            self.assertIn(str(path), run.stdout)
            self.assertTrue(path.read_bytes().startswith(_PNG))

    def test_without_the_stream_it_shows_the_dock(self):
        run = self._run("--no-demo")
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        self.assertNotIn("test picture", run.stdout)
        self.assertTrue((self.shots / "dock-open.png").exists())

    def test_it_says_that_the_port_is_taken(self):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as other:
            other.bind(("0.0.0.0", case.LISTEN_PORT))
            run = self._run()
        self.assertEqual(run.returncode, 1, run.stdout + run.stderr)
        self.assertIn("UDP port 5000 is taken", run.stdout)


if __name__ == "__main__":
    case.main()
