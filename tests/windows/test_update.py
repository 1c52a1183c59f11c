# SPDX-License-Identifier: GPL-2.0-or-later
"""The update as a user meets it: the dock finds, loads and checks the project's own installer, starts it and goes; the user
presses Enter; the plug-in is in place and OBS runs again. And the installer that is not the announced one.

Usage, beside withservers.py: test_update.py PACKAGES VERSION STAND-IN-OBS TOOLS-OF-WINE TEST-THAT-UPDATES
"""

import sys
import unittest
import zipfile
from pathlib import Path

from keyboard import press
from machinecase import APP_KEY, INSTALLED, MODULE, MachineCase
from winemachine import waitFor

TEMPORARY = "users/root/AppData/Local/Temp"
SAVED = "Tarvoline-SRTLA-Plugin-Setup-v1.0.exe"


class Update(MachineCase):
    updatingDock = None

    def runDock(self, function):
        report = self.machine.driveC / "report.txt"
        self.machine.setEnvironment("TARVOLINE_TEST_SETUP", str(self.setup))
        result = self.machine.run(self.updatingDock, "-o", r"C:\report.txt,txt", function)
        self.assertEqual(result.returncode, 0, report.read_text() if report.exists() else result.stdout)

    def moduleInTheArchive(self):
        with zipfile.ZipFile(self.packages / f"Tarvoline-SRTLA-Plugin-v{self.version}-windows-x64.zip") as archive:
            return archive.read("tarvoline-srtla/" + MODULE)

    def testTheDocksDownloadInstallsThePlugin(self):
        self.haveObs()
        self.runDock("startsTheInstallerAndQuits")

        def obsIsBack():
            press("Return")  # the default button of each of Setup's pages
            return self.obsLog() == ["start"]
        waitFor(obsIsBack, "the start of OBS")
        waitFor(lambda: self.installedFiles() == INSTALLED, "the plug-in's files")
        self.assertEqual((self.app / MODULE).read_bytes(), self.moduleInTheArchive())
        self.assertEqual(self.machine.registry(APP_KEY)["DisplayVersion"], self.version)

    def testAnInstallerWithAnotherDigestRunsNowhere(self):
        self.haveObs()
        self.runDock("startsNothingWhoseDigestDiffers")
        self.assertEqual(self.obsLog(), [])
        self.assertFalse((self.machine.driveC / TEMPORARY / SAVED).exists())
        self.assertEqual(self.machine.files("ProgramData/obs-studio"), set())
        self.assertIsNone(self.machine.registry(APP_KEY))


if __name__ == "__main__":
    Update.take(*sys.argv[1:5])
    Update.updatingDock = Path(sys.argv[5])
    unittest.main(argv=sys.argv[:1] + sys.argv[6:])
