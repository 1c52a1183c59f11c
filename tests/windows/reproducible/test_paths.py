# SPDX-License-Identifier: GPL-2.0-or-later
"""The module and its debug information name no folder of the machine that they were built on.

Usage: test_paths.py SOURCE-FOLDER BUILD-FOLDER FILE…
"""

import os
import sys
import unittest
from pathlib import Path


def spellings(folder):
    """A folder's name as it may stand in a Windows file."""
    for text in (folder, folder.replace("/", "\\")):
        yield text.encode()
        yield text.encode("utf-16-le")


class Paths(unittest.TestCase):
    folders = files = ()

    def testNoFolderOfTheBuildMachine(self):
        for path in self.files:
            content = path.read_bytes()
            self.assertIn(b"tarvoline-srtla.pdb", content)  # debug information is there
            found = [f"{path.name}: {folder}" for folder in self.folders
                     for text in spellings(folder) if text in content]
            self.assertEqual(found, [])


if __name__ == "__main__":
    Paths.folders = {*sys.argv[1:3], str(Path.home()), "/root/", "/home/", "/tmp/", "/usr/",
                     os.environ["TARVOLINE_WINDOWS_SDK"]}
    Paths.files = [Path(name) for name in sys.argv[3:]]
    unittest.main(argv=sys.argv[:1])
