# SPDX-License-Identifier: GPL-2.0-or-later
"""What the tests of the installer share: a machine each, a program that stands in for OBS, and what is installed where."""

import os
import unittest
from pathlib import Path

from winemachine import WineMachine, waitFor

PLUGINS = "ProgramData/obs-studio/plugins"
MODULE = "bin/64bit/tarvoline-srtla.dll"
INSTALLED = {
    MODULE, "data/locale/de-DE.ini", "data/locale/en-US.ini", "README.txt", "LIESMICH.txt", "LICENSE.txt",
    "uninstall/unins000.exe", "uninstall/unins000.dat",
}
UNINSTALL_LIST = r"HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall"
APP_KEY = UNINSTALL_LIST + r"\{7C0E5A54-2F5B-4B0F-9B7C-3C6C8D5B1A92}_is1"
SETTINGS = r"HKCU\Software\Tarvoline\SRTLA OBS Plugin"
SILENT = ("/VERYSILENT", "/SUPPRESSMSGBOXES", "/NORESTART")
OBS_FOLDER = "Program Files/obs-studio"
OBS_PROGRAM = OBS_FOLDER + "/bin/64bit/obs64.exe"


class MachineCase(unittest.TestCase):
    packages = version = standInObs = tools = None  # the main program's to set

    def setUp(self):
        self.machine = WineMachine(self.tools, dict(os.environ))
        self.addCleanup(self.machine.close)
        self.setup = self.packages / f"Tarvoline-SRTLA-Plugin-Setup-v{self.version}.exe"

    @property
    def app(self):
        return self.machine.driveC / PLUGINS / "tarvoline-srtla"

    def installedFiles(self):
        return self.machine.files(PLUGINS + "/tarvoline-srtla")

    def haveObs(self):
        self.machine.write(OBS_PROGRAM, self.standInObs.read_bytes())
        self.machine.setRegistry(r"HKLM\Software\OBS Studio", "", r"C:\Program Files\obs-studio")

    def startObs(self, *switches):
        obs = self.machine.start(self.machine.driveC / OBS_PROGRAM, *switches)
        self.addCleanup(obs.wait)
        self.addCleanup(obs.kill)
        waitFor(lambda: self.obsLog() == ["start"], "the start of OBS")

    def obsLog(self):
        """What the stand-in has done so far: "start", "disturbed" (a window closed that is not the main one), "end"."""
        log = (self.machine.driveC / OBS_PROGRAM).with_suffix(".log")
        return [line.split()[0] for line in log.read_text().splitlines()] if log.exists() else []

    @classmethod
    def take(cls, packages, version, standInObs, tools):
        cls.packages, cls.version, cls.standInObs, cls.tools = Path(packages), version, Path(standInObs), Path(tools)
