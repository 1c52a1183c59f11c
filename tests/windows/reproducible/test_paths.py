# SPDX-License-Identifier: GPL-2.0-or-later
"""The module and its debug information contain no path of the build machine.

Usage: test_paths.py SOURCE-FOLDER BUILD-FOLDER FILE…
"""

import os
import sys
import unittest
from pathlib import Path


def spellings(folder):
    """The encodings of a folder's path in a Windows file."""
    for text in (folder, folder.replace("/", "\\")):
        yield text.encode()
        yield text.encode("utf-16-le")


class PathsTest(unittest.TestCase):
    folders = files = ()

    def test_no_path_of_the_build_machine(self):
        for path in self.files:
            content = path.read_bytes()
            self.assertIn(b"tarvoline-srtla.pdb", content)  # the module has debug information
            found = [f"{path.name}: {folder}" for folder in self.folders
                     for text in spellings(folder) if text in content]
            self.assertEqual(found, [])


if __name__ == "__main__":
    PathsTest.folders = {*sys.argv[1:3], str(Path.home()), "/root/", "/home/", "/tmp/", "/usr/",
                         os.environ["TARVOLINE_WINDOWS_SDK"]}
    PathsTest.files = [Path(name) for name in sys.argv[3:]]
    unittest.main(argv=sys.argv[:1])
