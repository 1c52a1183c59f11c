# SPDX-License-Identifier: GPL-2.0-or-later
"""The uninstaller as a user meets it: the box about the settings, its buttons, the question that follows.

Usage: test_uninstall.py PACKAGES VERSION STAND-IN-OBS TOOLS-OF-WINE
"""

import re
import subprocess
import sys
import unittest

from machinecase import INSTALLED, SETTINGS, SILENT, MachineCase
from winemachine import waitFor

BOX = "Tarvoline SRTLA for OBS Studio"
QUESTION = BOX + " Uninstall"
STORED = {"listenPort": "5000"}


def press(key):
    subprocess.run(["xdotool", "key", key], check=True)


def windowWithTheKeyboard():
    """The name of the window below the pointer: where no window manager runs, the keys go there."""
    result = subprocess.run(["xdotool", "getmouselocation", "--shell"], capture_output=True, text=True, check=False)
    window = re.search(r"^WINDOW=(\d+)$", result.stdout, re.MULTILINE)
    if not window:
        return ""
    result = subprocess.run(["xdotool", "getwindowname", window[1]], capture_output=True, text=True, check=False)
    return result.stdout.strip()


class Uninstall(MachineCase):
    def setUp(self):
        super().setUp()
        self.machine.setRegistry(SETTINGS, "listenPort", STORED["listenPort"])
        self.assertEqual(self.machine.run(self.setup, *SILENT).returncode, 0)
        self.uninstaller = self.machine.start(self.app / "uninstall" / "unins000.exe")
        self.addCleanup(self.uninstaller.wait)
        self.addCleanup(self.uninstaller.kill)
        self.waitForWindow(BOX)

    def waitForWindow(self, name):
        waitFor(lambda: windowWithTheKeyboard() == name, f"the window {name!r}")

    def waitForTheEnd(self):
        press("alt+y")
        waitFor(lambda: not self.app.exists(), "the plug-in's folder to go")

    def testSettingsStayWithoutTheTick(self):
        press("Return")
        self.waitForWindow(QUESTION)
        self.waitForTheEnd()
        # The settings would have gone before the folder's end is told.
        self.waitForWindow(QUESTION)
        press("Return")
        self.assertEqual(self.machine.registry(SETTINGS), STORED)

    def testTheTickRemovesTheSettings(self):
        press("space")
        press("Return")
        self.waitForWindow(QUESTION)
        self.assertEqual(self.machine.registry(SETTINGS), STORED)
        self.waitForTheEnd()
        waitFor(lambda: self.machine.registry(SETTINGS) is None, "the settings to go")

    def testCancelChangesNothing(self):
        press("space")
        press("Escape")
        self.uninstaller.wait()
        self.assertEqual(self.installedFiles(), INSTALLED)
        self.assertEqual(self.machine.registry(SETTINGS), STORED)


if __name__ == "__main__":
    Uninstall.take(*sys.argv[1:5])
    unittest.main(argv=sys.argv[:1] + sys.argv[5:])
