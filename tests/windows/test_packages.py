# SPDX-License-Identifier: GPL-2.0-or-later
"""The packages for Windows: archives, installation, upgrade, uninstallation.

Usage: test_packages.py PACKAGES VERSION OBS-STAND-IN WINE-TOOLS MODULE-TEST
"""

import hashlib
import re
import sys
import unittest
from pathlib import Path

from keyboard import focused_window, press
from machinecase import (APP_KEY, INSTALLED, MODULE, OBS_FOLDER, PLUGINS, SETTINGS_KEY, UNINSTALL_LIST, UPDATER_SWITCHES,
                         MachineCase, PackageCase, configure, wait_for)

PLAIN = {
    "tarvoline-srtla/" + MODULE, "tarvoline-srtla/data/locale/de-DE.ini", "tarvoline-srtla/data/locale/en-US.ini",
    "tarvoline-srtla/data/manifest.json", "README.txt", "LIESMICH.txt", "LICENSE.txt",
}
PORTABLE = {
    "obs-plugins/64bit/tarvoline-srtla.dll", "data/obs-plugins/tarvoline-srtla/locale/de-DE.ini",
    "data/obs-plugins/tarvoline-srtla/locale/en-US.ini", "data/obs-plugins/tarvoline-srtla/manifest.json", "README.txt",
    "LIESMICH.txt", "LICENSE.txt",
}
# A CodeView record: "RSDS", a GUID, the age (32 bits), the PDB's name without a folder.
CODEVIEW_RECORD = re.compile(rb"RSDS(.{16})....tarvoline-srtla\.pdb\0", re.DOTALL)
# Of the vendor, help and updates, for the reserved example host.
ADDRESSES = ["https://tarvoline.example/", "https://tarvoline.example/support", "https://tarvoline.example/download"]


class InstallerTest(MachineCase):
    module_test = None

    def test_installed_files_and_entry_in_the_list_of_programs(self):
        self.assertEqual(self.install(), 0)
        self.assertEqual(self.installed_files(), INSTALLED)
        self.assertEqual(self.machine.files("ProgramData/obs-studio"),
                         {"plugins/tarvoline-srtla/" + name for name in INSTALLED})
        entry = self.machine.registry(APP_KEY)
        self.assertEqual(entry["DisplayName"], "Tarvoline SRTLA for OBS Studio")
        self.assertEqual(entry["DisplayVersion"], self.version)
        self.assertEqual(entry["Publisher"], "Tarvoline")
        self.assertEqual([entry[name] for name in ("URLInfoAbout", "HelpLink", "URLUpdateInfo")], ADDRESSES)

    def test_installed_module_loads(self):
        self.assertEqual(self.install(), 0)
        self.machine.set_environment("TARVOLINE_TEST_MODULE", f"C:/{PLUGINS}/tarvoline-srtla/{MODULE}")
        code, report = self.run_qt_test(self.module_test)
        self.assertEqual(code, 0, report)
        # The test fails without this file, so it does not load another copy of the module.
        (self.app / MODULE).unlink()
        _, report = self.run_qt_test(self.module_test, "loadsAndUnloadsInOrderOfObs")
        self.assertIn("FAIL!  : TestLoadLibrary::loadsAndUnloadsInOrderOfObs", report)

    def test_uninstall_keeps_the_settings_and_removes_other_files(self):
        self.machine.set_registry(SETTINGS_KEY, "listenPort", "5000")
        statistics = self.machine.write("users/root/AppData/Local/Temp/Tarvoline/tarvoline-srtla-signal.json")
        copy = self.machine.write("users/root/AppData/Local/obs64/tarvoline-srtla-signal.json")
        download = self.machine.write("users/root/AppData/Local/Temp/Tarvoline-SRTLA-Plugin-Setup-v0.9.1.exe")
        self.install()
        self.assertEqual(self.uninstall(), 0)
        wait_for(lambda: not (self.machine.drive_c / "ProgramData/obs-studio").exists(), "removal of the empty plug-in folder")
        wait_for(lambda: self.machine.registry(APP_KEY) is None, "removal from the list of programs")
        wait_for(lambda: not statistics.parent.exists(), "removal of the statistics file")
        wait_for(lambda: not copy.parent.exists(), "removal of the copy of the statistics file")
        self.assertFalse(download.exists())
        self.assertEqual(self.machine.registry(SETTINGS_KEY), {"listenPort": "5000"})

    def test_uninstall_keeps_other_plugins(self):
        other = self.machine.write(PLUGINS + "/other/bin/64bit/other.dll")
        self.install()
        self.uninstall()
        wait_for(lambda: not self.app.exists(), "removal of the plug-in's folder")
        self.assertTrue(other.exists())

    def test_uninstall_removes_the_settings_with_the_switch(self):
        self.machine.set_registry(SETTINGS_KEY, "listenPort", "5000")
        self.install()
        self.uninstall("/REMOVESETTINGS")
        wait_for(lambda: self.machine.registry(r"HKCU\Software\Tarvoline") is None, "removal of the settings")

    def test_upgrade_replaces_the_older_version(self):
        older = self.variant(self.version, "0.8.0", extra_file="data/locale/fr-FR.ini")
        self.assertEqual(self.install(setup=older), 0)
        self.assertEqual(self.machine.registry(APP_KEY)["DisplayVersion"], "0.8.0")
        self.assertIn("data/locale/fr-FR.ini", self.installed_files())
        self.assertEqual(self.install(), 0)
        self.assertEqual(self.installed_files(), INSTALLED)
        self.assertEqual(self.machine.registry(APP_KEY)["DisplayVersion"], self.version)
        entries = [key for key in self.machine.registry_keys_below(UNINSTALL_LIST) if "_is1" in key]
        self.assertEqual(len(entries), 1, entries)

    def test_removes_the_plugin_from_the_folder_of_obs(self):
        self.install_obs()
        self.machine.write(OBS_FOLDER + "/obs-plugins/64bit/tarvoline-srtla.dll")
        self.machine.write(OBS_FOLDER + "/obs-plugins/64bit/obs-ffmpeg.dll")
        self.machine.write(OBS_FOLDER + "/data/obs-plugins/tarvoline-srtla/locale/de-DE.ini")
        self.machine.write(OBS_FOLDER + "/data/obs-plugins/obs-ffmpeg/locale/de-DE.ini")
        self.assertEqual(self.install(), 0)
        self.assertEqual(self.machine.files(OBS_FOLDER), {
            "bin/64bit/obs64.exe", "bin/64bit/obs.dll", "obs-plugins/64bit/obs-ffmpeg.dll",
            "data/obs-plugins/obs-ffmpeg/locale/de-DE.ini"})

    def test_wizard_with_the_switches_of_the_updater(self):
        setup = self.start(self.setup, *UPDATER_SWITCHES)
        wait_for(focused_window, "Setup's first window")
        self.assertEqual(focused_window(), f"Setup - Tarvoline SRTLA {self.version} for OBS Studio")

        # Enter presses each page's default button: Install, then Finish.
        def ends_after_enter():
            press("Return")
            return setup.poll() is not None
        wait_for(ends_after_enter, "the end of the wizard")
        self.assertEqual(setup.returncode, 0)
        self.assertEqual(self.installed_files(), INSTALLED)


class ArchivesTest(PackageCase):
    def test_plain_archive(self):
        self.assertEqual(set(self.archive().namelist()), PLAIN)

    def test_portable_archive(self):
        self.assertEqual(set(self.archive("-portable").namelist()), PORTABLE)

    def test_debug_information_matches_the_module(self):
        archive = self.archive("-pdb")
        self.assertEqual(archive.namelist(), ["tarvoline-srtla.pdb"])
        # A debugger matches module and PDB by a GUID in both.
        record = CODEVIEW_RECORD.search(self.packaged_module())
        self.assertIsNotNone(record)
        self.assertIn(record[1], archive.read("tarvoline-srtla.pdb"))

    def test_version_resource_of_the_module(self):
        module = self.packaged_module()
        for name, value in {"CompanyName": "Tarvoline", "FileVersion": self.version, "ProductName": "Tarvoline SRTLA",
                            "FileDescription": "Receiver for bonded mobile live streams (SRTLA) in OBS Studio"}.items():
            self.assertEqual(version_text(module, name), value)

    def test_sums(self):
        stated = dict(reversed(line.split("  ")) for line in (self.packages / "SHA256SUMS").read_text().splitlines())
        packages = [path for path in self.packages.iterdir() if path.suffix in (".exe", ".zip")]
        self.assertEqual(stated, {path.name: hashlib.sha256(path.read_bytes()).hexdigest() for path in packages})
        self.assertEqual(len(stated), 4)


def version_text(module, name):
    """A text of the module's version resource, in which each name and each value is followed by zeros."""
    _, _, rest = module.partition((name + "\0").encode("utf-16-le"))
    return rest[:400].decode("utf-16-le", "replace").lstrip("\0").partition("\0")[0]


if __name__ == "__main__":
    configure(*sys.argv[1:5])
    InstallerTest.module_test = Path(sys.argv[5])
    unittest.main(argv=sys.argv[:1] + sys.argv[6:])
