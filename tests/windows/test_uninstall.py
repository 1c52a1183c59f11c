# SPDX-License-Identifier: GPL-2.0-or-later
"""The uninstaller with its windows: first the question about the settings, then the confirmation.

Usage: test_uninstall.py PACKAGES VERSION OBS-STAND-IN WINE-TOOLS
"""

import sys
import unittest

from keyboard import focused_window, press
from machinecase import INSTALLED, SETTINGS_KEY, MachineCase, configure, wait_for

SETTINGS_QUESTION = "Uninstall"
CONFIRMATION = "Tarvoline SRTLA for OBS Studio Uninstall"
STORED = {"listenPort": "5000"}


class UninstallTest(MachineCase):
    def setUp(self):
        super().setUp()
        self.machine.set_registry(SETTINGS_KEY, "listenPort", STORED["listenPort"])
        self.assertEqual(self.install(), 0)
        self.uninstaller = self.start(self.app / "uninstall" / "unins000.exe")
        self.wait_for_window(SETTINGS_QUESTION)

    def wait_for_window(self, name):
        wait_for(lambda: focused_window() == name, f"the window {name!r}")

    def confirm(self):
        """Confirms the uninstallation, waits for its end and closes the final message."""
        press("alt+y")
        wait_for(lambda: not self.app.exists(), "removal of the plug-in's folder")
        self.wait_for_window(CONFIRMATION)
        press("Return")

    def test_default_keeps_the_settings(self):
        press("Return")
        self.wait_for_window(CONFIRMATION)
        self.confirm()
        # Settings are removed before the folder.
        self.assertEqual(self.machine.registry(SETTINGS_KEY), STORED)

    def test_yes_removes_the_settings(self):
        press("alt+y")
        self.wait_for_window(CONFIRMATION)
        self.assertEqual(self.machine.registry(SETTINGS_KEY), STORED)
        self.confirm()
        self.uninstaller.wait()
        wait_for(lambda: self.machine.registry(SETTINGS_KEY) is None, "removal of the settings")

    def test_cancel_changes_nothing(self):
        press("Escape")
        self.uninstaller.wait()
        self.assertEqual(self.installed_files(), INSTALLED)
        self.assertEqual(self.machine.registry(SETTINGS_KEY), STORED)


if __name__ == "__main__":
    configure(*sys.argv[1:5])
    unittest.main(argv=sys.argv[:1] + sys.argv[5:])
