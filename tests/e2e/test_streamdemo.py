# SPDX-License-Identifier: GPL-2.0-or-later
"""The demonstration without OBS saves a picture of the received stream."""

import pathlib
import re
import subprocess

from case import ProgramCase, main
from timelimits import PROGRAM_TIMEOUT_S

DEMO = pathlib.Path(__file__).resolve().parents[2] / "tools" / "streamdemo" / "streamdemo.py"
USAGE_EXIT = 2


class StreamDemoTest(ProgramCase):
    """Without a terminal."""

    def run_demo(self, *arguments):
        """Runs the demonstration."""
        return subprocess.run([DEMO, *arguments], capture_output=True, encoding="utf-8", check=False,
                              timeout=PROGRAM_TIMEOUT_S)

    def test_ends_with_a_picture(self):
        """The printed path has the picture."""
        result = self.run_demo("--seconds", "6")
        self.assertEqual(result.returncode, 0, result.stderr + result.stdout)
        found = re.search(r"^(\d+) bytes arrived\. A picture of the stream: (.+\.png)$", result.stdout, re.MULTILINE)
        self.assertTrue(found, result.stdout)
        self.assertGreater(int(found[1]), 1_000_000)
        self.assertEqual(pathlib.Path(found[2]).read_bytes()[:4], b"\x89PNG")
        self.assertRegex(result.stdout, r"127\.0\.0\.13 cut ")

    def test_minimum_length(self):
        """A stream too short for the cut is rejected."""
        self.assertEqual(self.run_demo("--seconds", "2").returncode, USAGE_EXIT)


if __name__ == "__main__":
    main()
