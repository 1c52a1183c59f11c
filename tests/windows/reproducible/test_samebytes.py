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


def copy_sources(source, target):
    names = subprocess.run(["git", "-c", f"safe.directory={source}", "ls-files", "-z"], cwd=source, check=True,
                           capture_output=True).stdout
    target.mkdir(parents=True)
    archive = subprocess.run(["tar", "-c", "--null", "--verbatim-files-from", "-T", "-"], cwd=source, input=names, check=True,
                             capture_output=True).stdout
    subprocess.run(["tar", "-x"], cwd=target, input=archive, check=True)


def built(source, cache):
    """Builds the module; returns the contents of its files by name. clang includes a hash of the source's path in the names of
    anonymous namespaces; ccache passes relative paths. The cache is empty, so that every file is compiled."""
    build = source / "build/windows-x64-clang"
    environment = os.environ | {"CCACHE_DIR": str(cache), "CCACHE_BASEDIR": str(source), "CCACHE_NOHASHDIR": "1"}
    for command in (["cmake", "--preset", "windows-x64-clang", "-DBUILD_TESTING=OFF"],
                    ["cmake", "--build", build, "--target", "tarvoline-srtla"]):
        subprocess.run(command, cwd=source, env=environment, check=True, stdout=subprocess.DEVNULL)
    return {name: (build / "plugins/tarvoline-srtla" / name).read_bytes() for name in FILES}


class SameBytesTest(unittest.TestCase):
    source = None

    def test_another_folder_gives_the_same_module(self):
        folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        one, other = folder / "one", folder / "of another name/and depth"
        for copy in (one, other):
            copy_sources(self.source, copy)
        first = built(one, folder / "cache")
        second = built(other, folder / "other cache")
        self.assertEqual([name for name in FILES if first[name] != second[name]], [])


if __name__ == "__main__":
    SameBytesTest.source = Path(sys.argv[1])
    unittest.main(argv=sys.argv[:1])
