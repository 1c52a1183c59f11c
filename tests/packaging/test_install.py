# SPDX-License-Identifier: GPL-2.0-or-later
"""The files of `cmake --install`, and the exported symbols of the module."""

import json
import os
import pathlib
import subprocess
import tempfile
import unittest

BUILD = pathlib.Path(os.environ["TARVOLINE_BUILD"])
MODULE = BUILD / "plugins/tarvoline-srtla/bin/64bit/tarvoline-srtla.so"
MULTIARCH = subprocess.run(["gcc", "-print-multiarch"], check=True, text=True, capture_output=True).stdout.strip()

SYSTEM_FILES = [
    f"usr/lib/{MULTIARCH}/obs-plugins/tarvoline-srtla.so",
    "usr/share/doc/tarvoline-srtla/copyright",
    "usr/share/obs/obs-plugins/tarvoline-srtla/locale/de-DE.ini",
    "usr/share/obs/obs-plugins/tarvoline-srtla/locale/en-US.ini",
    "usr/share/obs/obs-plugins/tarvoline-srtla/manifest.json",
]
USER_FILES = [
    "tarvoline-srtla/bin/64bit/tarvoline-srtla.so",
    "tarvoline-srtla/data/locale/de-DE.ini",
    "tarvoline-srtla/data/locale/en-US.ini",
    "tarvoline-srtla/data/manifest.json",
]
ENTRY_POINTS = [
    "obs_current_module", "obs_module_description", "obs_module_free_locale", "obs_module_get_string",
    "obs_module_load", "obs_module_set_locale", "obs_module_set_pointer", "obs_module_unload", "obs_module_ver",
]


def output_of(*command) -> str:
    return subprocess.run(command, check=True, text=True, capture_output=True).stdout


def files_below(folder: pathlib.Path) -> list[str]:
    return sorted(str(path.relative_to(folder)) for path in folder.rglob("*") if not path.is_dir())


class InstallTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def install(self, *arguments, **environment):
        subprocess.run(["cmake", "--install", str(BUILD), *arguments], check=True, stdout=subprocess.DEVNULL,
                       env=os.environ | environment)

    def test_system_install_below_destdir(self):
        self.install(DESTDIR=str(self.folder))
        self.assertEqual(files_below(self.folder), SYSTEM_FILES)

    def test_system_install_below_another_prefix(self):
        self.install("--prefix", str(self.folder / "usr"))
        self.assertEqual(files_below(self.folder), SYSTEM_FILES)

    def test_user_install_is_a_plugin_folder(self):
        self.install("--component", "user", "--prefix", str(self.folder))
        self.assertEqual(files_below(self.folder), USER_FILES)

    def test_installed_module_has_no_search_path(self):
        self.install("--component", "user", "--prefix", str(self.folder))
        dynamic = output_of("readelf", "--dynamic", str(self.folder / USER_FILES[0]))
        self.assertIn("(NEEDED)", dynamic)
        self.assertNotIn("(RUNPATH)", dynamic)
        self.assertNotIn("(RPATH)", dynamic)

    def test_installed_manifest_has_the_version_of_the_sources(self):
        self.install("--component", "user", "--prefix", str(self.folder))
        manifest = json.loads((self.folder / "tarvoline-srtla/data/manifest.json").read_text())
        source = json.loads((pathlib.Path(__file__).resolve().parents[2] / "buildspec.json").read_text())
        self.assertEqual((manifest["id"], manifest["display_name"], manifest["version"]),
                         (source["name"], source["displayName"], source["version"]))
        for address in manifest["urls"].values():
            self.assertRegex(address, r"^https://[a-z0-9.-]+/\w*$")

    def test_installed_locale_files_equal_the_sources(self):
        self.install("--component", "user", "--prefix", str(self.folder))
        source = pathlib.Path(__file__).resolve().parents[2] / "locale"
        for name in ("de-DE.ini", "en-US.ini"):
            installed = self.folder / "tarvoline-srtla/data/locale" / name
            self.assertEqual(installed.read_bytes(), (source / name).read_bytes())


class ModuleFileTest(unittest.TestCase):
    def test_exports_the_entry_points_and_nothing_else(self):
        symbols = output_of("nm", "--dynamic", "--defined-only", "--format=just-symbols", str(MODULE)).split()
        self.assertEqual(sorted(symbols), ENTRY_POINTS)


if __name__ == "__main__":
    unittest.main()
