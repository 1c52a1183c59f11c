# SPDX-License-Identifier: GPL-2.0-or-later
"""The Debian package: its files and dependencies, and its installation in a copy of this system."""

import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

from test_install import BUILD, MULTIARCH, SYSTEM_FILES, output_of

PROJECT = pathlib.Path(__file__).resolve().parents[2]
WITH_PACKAGE = pathlib.Path(__file__).with_name("withpackage.sh")
MODULE = f"/usr/lib/{MULTIARCH}/obs-plugins/tarvoline-srtla.so"
# The packages of the linked libraries, without the suffixes of different Debian releases.
LIBRARY_PACKAGES = ["libc6", "libcurl", "libobs", "libqt6core6", "libqt6network6", "libqt6widgets6", "libstdc++6"]
NEEDS_ROOT = unittest.skipUnless(os.geteuid() == 0, "installing needs root")


class PackageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        subprocess.run(["cpack", "--config", str(BUILD / "CPackConfig.cmake"), "-G", "DEB", "-B", folder.name],
                       check=True, stdout=subprocess.DEVNULL, cwd=folder.name)
        packages = list(pathlib.Path(folder.name).glob("*.deb"))
        assert len(packages) == 1, packages
        cls.package = packages[0]

    def field(self, name: str) -> str:
        return output_of("dpkg-deb", "--field", str(self.package), name).strip()

    def inside(self, *command) -> subprocess.CompletedProcess:
        return subprocess.run([str(WITH_PACKAGE), str(self.package), *command], text=True, capture_output=True,
                              cwd=PROJECT)

    def test_name_and_version(self):
        self.assertRegex(self.package.name, r"^tarvoline-srtla_0\.9\.2_\w+\.deb$")
        self.assertEqual(self.field("Package"), "tarvoline-srtla")
        self.assertEqual(self.field("Version"), "0.9.2")

    def test_contains_the_system_install_and_nothing_else(self):
        listing = output_of("dpkg-deb", "--contents", str(self.package)).splitlines()
        entries = [line.split() for line in listing]
        files = sorted(entry[5].removeprefix("./") for entry in entries if not entry[0].startswith("d"))
        self.assertEqual(files, SYSTEM_FILES)
        self.assertEqual({entry[1] for entry in entries}, {"root/root"})
        for mode, *_ in entries:
            self.assertIn(mode, ("drwxr-xr-x", "-rw-r--r--"))

    def test_depends_on_obs_and_the_linked_libraries(self):
        depends = [entry.strip() for entry in self.field("Depends").split(",")]
        self.assertIn("obs-studio (>= 31.1)", depends)
        for package in LIBRARY_PACKAGES:
            self.assertTrue(any(re.match(re.escape(package) + r"(t64|-gnutls|\d)*( |$)", entry) for entry in depends),
                            f"{package} is missing from {depends}")

    def test_module_is_stripped(self):
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run(["dpkg-deb", "--extract", str(self.package), folder], check=True)
            self.assertNotIn(".debug_info", output_of("readelf", "--sections", "--wide", folder + MODULE))

    @NEEDS_ROOT
    def test_is_installed_in_the_copy_only(self):
        done = self.inside("dpkg-query", "--show", "--showformat=${Status} ${Version}", "tarvoline-srtla")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(done.stdout, "install ok installed 0.9.2")
        self.assertFalse(pathlib.Path(MODULE).exists())

    @NEEDS_ROOT
    def test_installed_module_finds_its_libraries(self):
        done = self.inside("ldd", MODULE)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertNotIn("not found", done.stdout)

    @NEEDS_ROOT
    def test_obs_loads_the_installed_plugin(self):
        done = self.inside("python3", "-B", str(PROJECT / "tests/packaging/obswithsystemplugin.py"))
        self.assertEqual(done.returncode, 0, done.stderr)
        session = json.loads(done.stdout)
        self.assertEqual([path for path in session["modules"] if path.endswith(MODULE)], session["modules"])
        self.assertEqual(len(session["modules"]), 1)
        self.assertEqual(session["exit_code"], 0)
        log = "\n".join(session["log"])
        self.assertIn("[Tarvoline SRTLA] Plugin 0.9.2 wird geladen", log)
        self.assertIn("[Tarvoline SRTLA] Plugin sicher entladen", log)
        # OBS logs a missing locale file.
        self.assertNotIn("text for module: 'tarvoline-srtla.so'", log)
        self.assertIn("Number of memory leaks: 0", log)

    @NEEDS_ROOT
    def test_removal_leaves_no_files(self):
        done = self.inside("sh", "-c", f"dpkg --purge tarvoline-srtla >&2 && for path in {MODULE} "
                                       "/usr/share/obs/obs-plugins/tarvoline-srtla /usr/share/doc/tarvoline-srtla; "
                                       "do [ ! -e $path ] || exit 1; done")
        self.assertEqual(done.returncode, 0, done.stderr)


if __name__ == "__main__":
    if subprocess.run(["unshare", "--mount", "--propagation", "unchanged", "true"], stderr=subprocess.DEVNULL,
                      check=False).returncode != 0:
        print("Skipped: the package is installed in a copy of the system, which needs the right to mount.")
        sys.exit(77)
    unittest.main()
