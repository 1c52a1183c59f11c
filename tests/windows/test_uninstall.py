# SPDX-License-Identifier: GPL-2.0-or-later
"""The uninstaller as a user meets it: the question about the settings, its buttons, the question that follows.

Usage: test_uninstall.py PACKAGES VERSION STAND-IN-OBS TOOLS-OF-WINE
"""

import sys
import unittest

from keyboard import press, windowWithTheKeyboard
from machinecase import INSTALLED, SETTINGS, SILENT, MachineCase
from winemachine import waitFor

ABOUT_SETTINGS = "Uninstall"
QUESTION = "Tarvoline SRTLA for OBS Studio Uninstall"
STORED = {"listenPort": "5000"}


class Uninstall(MachineCase):
    def setUp(self):
        super().setUp()
        self.machine.setRegistry(SETTINGS, "listenPort", STORED["listenPort"])
        self.assertEqual(self.machine.run(self.setup, *SILENT).returncode, 0)
        self.uninstaller = self.machine.start(self.app / "uninstall" / "unins000.exe")
        self.addCleanup(self.uninstaller.wait)
        self.addCleanup(self.uninstaller.kill)
        self.waitForWindow(ABOUT_SETTINGS)

    def waitForWindow(self, name):
        waitFor(lambda: windowWithTheKeyboard() == name, f"the window {name!r}")

    def waitForTheEnd(self):
        press("alt+y")
        waitFor(lambda: not self.app.exists(), "the plug-in's folder to go")
        self.waitForWindow(QUESTION)
        press("Return")

    def testSettingsStayByDefault(self):
        press("Return")
        self.waitForWindow(QUESTION)
        self.waitForTheEnd()
        # The settings would have gone before the folder.
        self.assertEqual(self.machine.registry(SETTINGS), STORED)

    def testYesRemovesTheSettings(self):
        press("alt+y")
        self.waitForWindow(QUESTION)
        self.assertEqual(self.machine.registry(SETTINGS), STORED)
        self.waitForTheEnd()
        self.uninstaller.wait()
        waitFor(lambda: self.machine.registry(SETTINGS) is None, "the settings to go")

    def testCancelChangesNothing(self):
        press("Escape")
        self.uninstaller.wait()
        self.assertEqual(self.installedFiles(), INSTALLED)
        self.assertEqual(self.machine.registry(SETTINGS), STORED)


if __name__ == "__main__":
    Uninstall.take(*sys.argv[1:5])
    unittest.main(argv=sys.argv[:1] + sys.argv[5:])
