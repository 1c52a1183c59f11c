# SPDX-License-Identifier: GPL-2.0-or-later
"""The update from the dock to the installed plug-in: the dock downloads, checks and starts the project's installer and
quits, Enter is pressed in the installer, OBS is started. An installer with another digest is rejected.

Usage, inside withservers.py: test_update.py PACKAGES VERSION OBS-STAND-IN WINE-TOOLS UPDATING-DOCK
"""

import sys
import unittest
from pathlib import Path

from keyboard import press
from machinecase import APP_KEY, INSTALLED, MODULE, MachineCase, configure, wait_for

TEMPORARY = "users/root/AppData/Local/Temp"
SAVED = "Tarvoline-SRTLA-Plugin-Setup-v1.0.exe"


class UpdateTest(MachineCase):
    updating_dock = None

    def run_dock(self, function):
        """Runs a test function of tst_dock_install_setup."""
        self.machine.set_environment("TARVOLINE_TEST_SETUP", str(self.setup))
        code, report = self.run_qt_test(self.updating_dock, function)
        self.assertEqual(code, 0, report)

    def test_downloaded_installer_installs_the_plugin(self):
        self.install_obs()
        self.run_dock("startsInstallerAndQuits")

        def obs_runs_after_enter():
            press("Return")  # the default button of each of Setup's pages
            return self.obs_log() == ["start"]
        wait_for(obs_runs_after_enter, "the start of OBS")
        wait_for(lambda: self.installed_files() == INSTALLED, "the plug-in's files")
        self.assertEqual((self.app / MODULE).read_bytes(), self.packaged_module())
        self.assertEqual(self.machine.registry(APP_KEY)["DisplayVersion"], self.version)

    def test_installer_with_another_digest_is_rejected(self):
        self.install_obs()
        self.run_dock("rejectsInstallerWithOtherDigest")
        self.assertEqual(self.obs_log(), [])
        self.assertFalse((self.machine.drive_c / TEMPORARY / SAVED).exists())
        self.assertEqual(self.machine.files("ProgramData/obs-studio"), set())
        self.assertIsNone(self.machine.registry(APP_KEY))


if __name__ == "__main__":
    configure(*sys.argv[1:5])
    UpdateTest.updating_dock = Path(sys.argv[5])
    unittest.main(argv=sys.argv[:1] + sys.argv[6:])
