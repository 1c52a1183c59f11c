# SPDX-License-Identifier: GPL-2.0-or-later
"""Base of the installer's tests: a machine per test, a replacement for OBS, and the installed files."""

import os
import tempfile
import unittest
import zipfile
from pathlib import Path

from winemachine import WineMachine, waitFor

PLUGINS = "ProgramData/obs-studio/plugins"
MODULE = "bin/64bit/tarvoline-srtla.dll"
INSTALLED = {
    MODULE, "data/locale/de-DE.ini", "data/locale/en-US.ini", "data/manifest.json", "README.txt", "LIESMICH.txt", "LICENSE.txt",
    "uninstall/unins000.exe", "uninstall/unins000.dat",
}
UNINSTALL_LIST = r"HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall"
APP_KEY = UNINSTALL_LIST + r"\{7C0E5A54-2F5B-4B0F-9B7C-3C6C8D5B1A92}_is1"
SETTINGS = r"HKCU\Software\Tarvoline\SRTLA OBS Plugin"
SILENT = ("/VERYSILENT", "/SUPPRESSMSGBOXES", "/NORESTART")
UPDATERS_SWITCHES = ("/SP-", "/CLOSEAPPLICATIONS", "/RESTARTAPPLICATIONS")
OBS_FOLDER = "Program Files/obs-studio"
OBS_PROGRAM = OBS_FOLDER + "/bin/64bit/obs64.exe"
OTHER_OBS_PROGRAM = "portable/obs/bin/64bit/obs64.exe"
FIREWALL_RULE = "Tarvoline SRTLA (OBS Studio, UDP)"


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

    def install(self, *switches, setup=None):
        return self.machine.run(setup or self.setup, *SILENT, *switches).returncode

    def uninstall(self, *switches):
        code = self.machine.run(self.app / "uninstall" / "unins000.exe", *SILENT, *switches).returncode
        # The uninstaller goes on in a copy of itself, which deletes the original last.
        waitFor(lambda: not (self.app / "uninstall" / "unins000.exe").exists(), "the end of the uninstaller")
        return code

    def variant(self, *edit, extraFile=None):
        """The installer made anew from its script with edit[0] replaced by edit[1], with one more file in its tree."""
        folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        tree = folder / "tree"
        with zipfile.ZipFile(self.packages / f"Tarvoline-SRTLA-Plugin-v{self.version}-windows-x64.zip") as archive:
            archive.extractall(tree)
        if extraFile:
            (tree / "tarvoline-srtla" / extraFile).write_text("x")
        source = self.packages.parent / "packaging/windows"
        for name in ("obs.pas", "settings.pas"):
            (folder / name).write_bytes((source / name).read_bytes())
        script = (source / "installer.iss").read_text()
        self.assertIn(edit[0], script)
        (folder / "installer.iss").write_text(script.replace(*edit))
        compiler = os.environ["TARVOLINE_INNO_SETUP"] + "/bin/ISCC.exe"
        defines = {"Tree": tree / "tarvoline-srtla", "Readme": tree, "Output": folder}
        result = self.machine.run(compiler, *(f"/D{name}={wine(path)}" for name, path in defines.items()),
                                  wine(folder / "installer.iss"))
        self.assertEqual(result.returncode, 0, result.stdout)
        return next(folder.glob("*.exe"))

    def haveObs(self):
        self.haveProgram(OBS_PROGRAM)
        self.machine.setRegistry(r"HKLM\Software\OBS Studio", "", r"C:\Program Files\obs-studio")

    def haveProgram(self, program, library="obs.dll"):
        """Lays the stand-in for OBS there, and beside it the library by which OBS is recognised."""
        self.machine.write(program, self.standInObs.read_bytes())
        self.machine.write(f"{program.rpartition('/')[0]}/{library}")

    def startObs(self, *switches, program=OBS_PROGRAM):
        obs = self.machine.start(self.machine.driveC / program, *switches)
        self.addCleanup(obs.wait)
        self.addCleanup(obs.kill)
        waitFor(lambda: self.obsLog(program) == ["start"], "the start of OBS")

    def obsLog(self, program=OBS_PROGRAM):
        """What the stand-in has done so far: "start", "disturbed" (a window closed that is not the main one), "end"."""
        log = (self.machine.driveC / program).with_suffix(".log")
        return [line.split()[0] for line in log.read_text().splitlines()] if log.exists() else []

    @classmethod
    def take(cls, packages, version, standInObs, tools):
        cls.packages, cls.version, cls.standInObs, cls.tools = Path(packages), version, Path(standInObs), Path(tools)


def wine(path):
    return "Z:" + str(path).replace("/", "\\")
