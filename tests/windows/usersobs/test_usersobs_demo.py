# SPDX-License-Identifier: GPL-2.0-or-later
"""./run --windows."""

import os
import pathlib
import socket
import subprocess
import sys
import unittest

import hostcase
from dockports import LISTEN_PORT
from hostcase import STARTED
from teststream import path_with_silent_encoder

_DEMO = pathlib.Path(__file__).resolve().parents[3] / "tools" / "obsdemo" / "windowsdemo.py"
_PNG = b"\x89PNG\r\n\x1a\n"


class DemoTest(unittest.TestCase):
    def setUp(self):
        self.folder = hostcase.scratch(self)

    def _run(self, *arguments, **environment):
        return subprocess.run([sys.executable, "-B", _DEMO, "--folder", self.folder, *arguments],
                              env=os.environ | environment, capture_output=True, text=True, check=False)

    def test_saves_pictures_of_the_dock_and_of_the_stream(self):
        run = self._run()
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        self.assertIn("The picture has arrived in OBS.", run.stdout)
        for name in ("frame", "dock"):
            path = self.folder / f"{name}.png"
            self.assertIn(str(path), run.stdout)
            self.assertTrue(path.read_bytes().startswith(_PNG))

    def test_port_is_taken(self):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as other:
            other.bind(("0.0.0.0", LISTEN_PORT))
            run = self._run()
        self.assertEqual(run.returncode, 1, run.stdout + run.stderr)
        self.assertIn("UDP port 5000 is taken", run.stdout)

    def test_no_picture(self):
        # Beside the test's folder, which the demo replaces.
        programs = self.folder.with_name(self.folder.name + ".programs")
        run = self._run("--timeout", "2", PATH=path_with_silent_encoder(programs))
        self.assertEqual(run.returncode, 1, run.stdout + run.stderr)
        self.assertIn("No picture within 2 s.", run.stdout)
        self.assertIn(STARTED, run.stdout)


if __name__ == "__main__":
    hostcase.main()
