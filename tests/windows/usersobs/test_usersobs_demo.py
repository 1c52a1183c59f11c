# SPDX-License-Identifier: GPL-2.0-or-later
"""What ./run --windows starts."""

import os
import pathlib
import shutil
import socket
import subprocess
import sys
import unittest

_PROJECT = pathlib.Path(__file__).resolve().parents[3]
sys.path.insert(0, str(_PROJECT / "testkit"))

from windowsobs import BUILD, LISTEN_PORT  # noqa: E402

_DEMO = _PROJECT / "tools" / "obsdemo" / "windowsdemo.py"
_PNG = b"\x89PNG\r\n\x1a\n"


class DemoTest(unittest.TestCase):
    def setUp(self):
        self.folder = BUILD / "tests" / "usersobs" / self.id().removeprefix("__main__.")
        shutil.rmtree(self.folder, ignore_errors=True)

    def _run(self, *arguments, **environment):
        return subprocess.run([sys.executable, "-B", _DEMO, "--folder", self.folder, *arguments],
                              env=os.environ | environment, capture_output=True, text=True, check=False)

    def test_it_saves_pictures_of_the_dock_and_of_what_arrived(self):
        run = self._run()
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        self.assertIn("The picture has arrived in OBS.", run.stdout)
        for name in ("frame", "dock"):
            path = self.folder / f"{name}.png"
            self.assertIn(str(path), run.stdout)
            self.assertTrue(path.read_bytes().startswith(_PNG))

    def test_it_says_that_the_port_is_taken(self):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as other:
            other.bind(("0.0.0.0", LISTEN_PORT))
            run = self._run()
        self.assertEqual(run.returncode, 1, run.stdout + run.stderr)
        self.assertIn("UDP port 5000 is taken", run.stdout)

    def test_it_says_that_no_picture_came(self):
        # An encoder that sends nothing.
        programs = self.folder.with_name(self.folder.name + ".programs")
        programs.mkdir(parents=True, exist_ok=True)
        encoder = programs / "ffmpeg"
        encoder.write_text("#!/bin/sh\nexec sleep infinity\n")
        encoder.chmod(0o755)
        run = self._run("--timeout", "2", PATH=f"{programs}:{os.environ['PATH']}")
        self.assertEqual(run.returncode, 1, run.stdout + run.stderr)
        self.assertIn("No picture within 2 s.", run.stdout)
        self.assertIn("START | SRTLA UDP 5000 → SRT 127.0.0.1:5002", run.stdout)


if __name__ == "__main__":
    unittest.main(verbosity=2)
