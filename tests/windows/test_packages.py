# SPDX-License-Identifier: GPL-2.0-or-later
"""The packages for Windows on a Windows machine of each test's own (Wine).

Usage: test_packages.py PACKAGES VERSION STAND-IN-OBS TOOLS-OF-WINE TEST-THAT-LOADS-THE-MODULE
"""

import hashlib
import re
import sys
import unittest
import zipfile
from pathlib import Path

from keyboard import press, windowWithTheKeyboard
from machinecase import (APP_KEY, INSTALLED, MODULE, OBS_FOLDER, PLUGINS, SETTINGS, UNINSTALL_LIST, UPDATERS_SWITCHES,
                         MachineCase)
from winemachine import waitFor

PLAIN = {
    "tarvoline-srtla/" + MODULE, "tarvoline-srtla/data/locale/de-DE.ini", "tarvoline-srtla/data/locale/en-US.ini",
    "tarvoline-srtla/data/manifest.json", "README.txt", "LIESMICH.txt", "LICENSE.txt",
}
PORTABLE = {
    "obs-plugins/64bit/tarvoline-srtla.dll", "data/obs-plugins/tarvoline-srtla/locale/de-DE.ini",
    "data/obs-plugins/tarvoline-srtla/locale/en-US.ini", "data/obs-plugins/tarvoline-srtla/manifest.json", "README.txt",
    "LIESMICH.txt", "LICENSE.txt",
}
# A CodeView record: "RSDS", a GUID, the count of changes, the PDB's name without a folder.
MODULES_IDENTIFIER = re.compile(rb"RSDS(.{16})....tarvoline-srtla\.pdb\0", re.DOTALL)
# Of the vendor, help and updates, for the reserved example host.
ADDRESSES = ["https://tarvoline.example/", "https://tarvoline.example/support", "https://tarvoline.example/download"]


class Packages(MachineCase):
    moduleTest = None

    def testInstallsTheTable(self):
        self.assertEqual(self.install(), 0)
        self.assertEqual(self.installedFiles(), INSTALLED)
        self.assertEqual(self.machine.files("ProgramData/obs-studio"),
                         {"plugins/tarvoline-srtla/" + name for name in INSTALLED})
        entry = self.machine.registry(APP_KEY)
        self.assertEqual(entry["DisplayName"], "Tarvoline SRTLA for OBS Studio")
        self.assertEqual(entry["DisplayVersion"], self.version)
        self.assertEqual(entry["Publisher"], "Tarvoline")
        self.assertEqual([entry[name] for name in ("URLInfoAbout", "HelpLink", "URLUpdateInfo")], ADDRESSES)

    def testTheInstalledModuleLoads(self):
        self.assertEqual(self.install(), 0)
        report = self.machine.driveC / "report.txt"
        self.machine.setEnvironment("TARVOLINE_TEST_MODULE", f"C:/{PLUGINS}/tarvoline-srtla/{MODULE}")
        result = self.machine.run(self.moduleTest, "-o", r"C:\report.txt,txt")
        self.assertEqual(result.returncode, 0, report.read_text() if report.exists() else result.stdout)
        # Without its module in place the same test fails: it is this file that was loaded.
        (self.app / MODULE).unlink()
        self.assertNotEqual(self.machine.run(self.moduleTest, "-o", r"C:\report.txt,txt",
                                             "everyEntryPointAnswersInTheOrderOfObs").returncode, 0)

    def testUninstallLeavesTheSettingsAlone(self):
        self.machine.setRegistry(SETTINGS, "listenPort", "5000")
        signal = self.machine.write("users/root/AppData/Local/Temp/Tarvoline/tarvoline-srtla-signal.json")
        copy = self.machine.write("users/root/AppData/Local/obs64/tarvoline-srtla-signal.json")
        download = self.machine.write("users/root/AppData/Local/Temp/Tarvoline-SRTLA-Plugin-Setup-v0.9.1.exe")
        self.install()
        self.assertEqual(self.uninstall(), 0)
        waitFor(lambda: not (self.machine.driveC / "ProgramData/obs-studio").exists(), "an empty plug-in folder to go")
        waitFor(lambda: self.machine.registry(APP_KEY) is None, "the entry in the list of programs to go")
        waitFor(lambda: not signal.parent.exists(), "the statistics file to go")
        waitFor(lambda: not copy.parent.exists(), "the statistics file's copy to go")
        self.assertFalse(download.exists())
        self.assertEqual(self.machine.registry(SETTINGS), {"listenPort": "5000"})

    def testUninstallKeepsOtherPlugins(self):
        other = self.machine.write(PLUGINS + "/other/bin/64bit/other.dll")
        self.install()
        self.uninstall()
        waitFor(lambda: not self.app.exists(), "the plug-in's folder to go")
        self.assertTrue(other.exists())

    def testUninstallRemovesTheSettingsOnDemand(self):
        self.machine.setRegistry(SETTINGS, "listenPort", "5000")
        self.install()
        self.uninstall("/REMOVESETTINGS")
        waitFor(lambda: self.machine.registry(r"HKCU\Software\Tarvoline") is None, "the settings to go")

    def testUpgradeReplacesTheOlderVersion(self):
        older = self.variant(self.version, "0.8.0", extraFile="data/locale/fr-FR.ini")
        self.assertEqual(self.install(setup=older), 0)
        self.assertEqual(self.machine.registry(APP_KEY)["DisplayVersion"], "0.8.0")
        self.assertIn("data/locale/fr-FR.ini", self.installedFiles())
        self.assertEqual(self.install(), 0)
        self.assertEqual(self.installedFiles(), INSTALLED)
        self.assertEqual(self.machine.registry(APP_KEY)["DisplayVersion"], self.version)
        entries = [key for key in self.machine.registryKeysBelow(UNINSTALL_LIST) if "_is1" in key]
        self.assertEqual(len(entries), 1, entries)

    def testOldLayoutIsRemoved(self):
        self.haveObs()
        self.machine.write(OBS_FOLDER + "/obs-plugins/64bit/tarvoline-srtla.dll")
        self.machine.write(OBS_FOLDER + "/obs-plugins/64bit/obs-ffmpeg.dll")
        self.machine.write(OBS_FOLDER + "/data/obs-plugins/tarvoline-srtla/locale/de-DE.ini")
        self.machine.write(OBS_FOLDER + "/data/obs-plugins/obs-ffmpeg/locale/de-DE.ini")
        self.assertEqual(self.install(), 0)
        self.assertEqual(self.machine.files(OBS_FOLDER), {
            "bin/64bit/obs64.exe", "bin/64bit/obs.dll", "obs-plugins/64bit/obs-ffmpeg.dll",
            "data/obs-plugins/obs-ffmpeg/locale/de-DE.ini"})

    def testUpdatersSwitchesAloneShowTheWizard(self):
        setup = self.machine.start(self.setup, *UPDATERS_SWITCHES)
        self.addCleanup(setup.wait)
        self.addCleanup(setup.kill)
        waitFor(windowWithTheKeyboard, "Setup's first window")
        self.assertEqual(windowWithTheKeyboard(), f"Setup - Tarvoline SRTLA {self.version} for OBS Studio")

        # Enter presses each page's default button: Install, then Finish.
        def pressEnterUntilItEnds():
            press("Return")
            return setup.poll() is not None
        waitFor(pressEnterUntilItEnds, "the end of the wizard")
        self.assertEqual(setup.returncode, 0)
        self.assertEqual(self.installedFiles(), INSTALLED)


class Archives(unittest.TestCase):
    packages = version = None

    def names(self, suffix):
        with zipfile.ZipFile(self.packages / f"Tarvoline-SRTLA-Plugin-v{self.version}-windows-x64{suffix}.zip") as archive:
            return set(archive.namelist())

    def module(self):
        with zipfile.ZipFile(self.packages / f"Tarvoline-SRTLA-Plugin-v{self.version}-windows-x64.zip") as archive:
            return archive.read("tarvoline-srtla/" + MODULE)

    def testPlainArchive(self):
        self.assertEqual(self.names(""), PLAIN)

    def testPortableArchive(self):
        self.assertEqual(self.names("-portable"), PORTABLE)

    def testDebugInformationIsThatOfTheModule(self):
        with zipfile.ZipFile(self.packages / f"Tarvoline-SRTLA-Plugin-v{self.version}-windows-x64-pdb.zip") as archive:
            self.assertEqual(archive.namelist(), ["tarvoline-srtla.pdb"])
            debugInformation = archive.read("tarvoline-srtla.pdb")
        # A debugger matches module and PDB by an identifier in both; in the module it precedes the PDB's name.
        identifier = MODULES_IDENTIFIER.search(self.module())
        self.assertIsNotNone(identifier)
        self.assertIn(identifier[1], debugInformation)

    def testTheModuleSaysItsVersion(self):
        module = self.module()
        for name, value in {"CompanyName": "Tarvoline", "FileVersion": self.version, "ProductName": "Tarvoline SRTLA",
                            "FileDescription": "Receiver for bonded mobile live streams (SRTLA) in OBS Studio"}.items():
            self.assertEqual(versionText(module, name), value)

    def testSums(self):
        stated = dict(reversed(line.split("  ")) for line in (self.packages / "SHA256SUMS").read_text().splitlines())
        packages = [path for path in self.packages.iterdir() if path.suffix in (".exe", ".zip")]
        self.assertEqual(stated, {path.name: hashlib.sha256(path.read_bytes()).hexdigest() for path in packages})
        self.assertEqual(len(stated), 4)


def versionText(module, name):
    """A text of the module's version resource: its name and its value follow each other, each ended by a zero."""
    _, _, rest = module.partition((name + "\0").encode("utf-16-le"))
    return rest[:400].decode("utf-16-le", "replace").lstrip("\0").partition("\0")[0]


if __name__ == "__main__":
    Packages.take(*sys.argv[1:5])
    Packages.moduleTest = Path(sys.argv[5])
    Archives.packages, Archives.version = Packages.packages, Packages.version
    unittest.main(argv=sys.argv[:1] + sys.argv[6:])
