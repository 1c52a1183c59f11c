# SPDX-License-Identifier: GPL-2.0-or-later
"""The demonstration without OBS ends with a picture out of the stream, or says why not."""

import pathlib
import re
import subprocess

from case import RoadCase, main, stream

DEMO = pathlib.Path(__file__).resolve().parents[2] / "tools" / "streamdemo" / "streamdemo.py"
USAGE_EXIT = 2


class StreamDemoTest(RoadCase):
    """The demonstration as someone without a terminal sees it."""

    def run_demo(self, *arguments):
        """Runs it to its end."""
        return subprocess.run([DEMO, *arguments], capture_output=True, encoding="utf-8", check=False,
                              timeout=stream.PATIENCE_S)

    def test_ends_with_a_picture(self):
        """The picture lies where it says."""
        result = self.run_demo("--seconds", "6")
        self.assertEqual(result.returncode, 0, result.stderr + result.stdout)
        said = re.search(r"^(\d+) bytes arrived\. A picture out of them: (.+\.png)$", result.stdout, re.MULTILINE)
        self.assertTrue(said, result.stdout)
        self.assertGreater(int(said[1]), 1_000_000)
        self.assertEqual(pathlib.Path(said[2]).read_bytes()[:4], b"\x89PNG")
        self.assertRegex(result.stdout, r"127\.0\.0\.13 cut ")

    def test_refuses_less_than_it_needs(self):
        """A stream too short for the cut is refused."""
        self.assertEqual(self.run_demo("--seconds", "2").returncode, USAGE_EXIT)


if __name__ == "__main__":
    main()
