# SPDX-License-Identifier: GPL-2.0-or-later
"""Two builds of one state in two folders give the same module and the same debug information.

Usage: test_samebytes.py SOURCE-FOLDER
"""

import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

FILES = ("bin/64bit/tarvoline-srtla.dll", "bin/64bit/tarvoline-srtla.pdb", "data/manifest.json")


def copyOfTheSources(source, target):
    names = subprocess.run(["git", "-c", f"safe.directory={source}", "ls-files", "-z"], cwd=source, check=True,
                           capture_output=True).stdout
    target.mkdir(parents=True)
    archive = subprocess.run(["tar", "-c", "--null", "--verbatim-files-from", "-T", "-"], cwd=source, input=names, check=True,
                             capture_output=True).stdout
    subprocess.run(["tar", "-x"], cwd=target, input=archive, check=True)


def built(source, cache):
    """What a build of the sources makes, by name. Ccache with an empty cache hands the compiler relative paths: clang puts a
    hash of the source's path into the names of anonymous namespaces."""
    build = source / "build/windows-x64-clang"
    environment = os.environ | {"CCACHE_DIR": str(cache), "CCACHE_BASEDIR": str(source), "CCACHE_NOHASHDIR": "1"}
    for command in (["cmake", "--preset", "windows-x64-clang", "-DBUILD_TESTING=OFF"],
                    ["cmake", "--build", build, "--target", "tarvoline-srtla"]):
        subprocess.run(command, cwd=source, env=environment, check=True, stdout=subprocess.DEVNULL)
    return {name: (build / "plugins/tarvoline-srtla" / name).read_bytes() for name in FILES}


class SameBytes(unittest.TestCase):
    source = None

    def testAnotherFolderGivesTheSameModule(self):
        folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        one, other = folder / "one", folder / "of another name/and depth"
        for copy in (one, other):
            copyOfTheSources(self.source, copy)
        first = built(one, folder / "cache")
        second = built(other, folder / "other cache")
        self.assertEqual([name for name in FILES if first[name] != second[name]], [])


if __name__ == "__main__":
    SameBytes.source = Path(sys.argv[1])
    unittest.main(argv=sys.argv[:1])
