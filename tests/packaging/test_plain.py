# SPDX-License-Identifier: GPL-2.0-or-later
"""With BUILD_TESTING=OFF CMake needs only the dependencies of the plug-in and builds only the plug-in. This test configures and
reads the targets; the sources are compiled in the build that runs this test."""

import pathlib
import subprocess
import tempfile
import unittest

PROJECT = pathlib.Path(__file__).resolve().parents[2]
# Packages for tests, benchmarks and tools. CMake treats a disabled package as not installed.
NOT_NEEDED = ("Qt6Test", "Python3", "PkgConfig")
TARGETS = {"engine/libengine.a", "online/libonline.a", "dock/libdock.a",
           "plugins/tarvoline-srtla/bin/64bit/tarvoline-srtla.so"}


class PlainCMakeTest(unittest.TestCase):
    def test_builds_the_plugin_alone(self):
        with tempfile.TemporaryDirectory() as folder:
            configured = subprocess.run(["cmake", "-G", "Ninja", "-S", PROJECT, "-B", folder, "-DBUILD_TESTING=OFF",
                                         *(f"-DCMAKE_DISABLE_FIND_PACKAGE_{name}=ON" for name in NOT_NEEDED)],
                                        check=False, text=True, capture_output=True)
            self.assertEqual(configured.returncode, 0, configured.stderr)
            rules = subprocess.run(["ninja", "-C", folder, "-t", "targets", "all"], check=True, text=True,
                                   capture_output=True).stdout
            linked = {line.split(":")[0] for line in rules.splitlines() if "_LINKER__" in line}
            self.assertEqual(linked, TARGETS)


if __name__ == "__main__":
    unittest.main()
