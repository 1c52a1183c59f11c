# SPDX-License-Identifier: GPL-2.0-or-later
"""Base of the package and installer tests: the packages, a Wine prefix per test, a stand-in for OBS."""

import os
import sys
import tempfile
import unittest
import zipfile
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "testkit"))

from timelimits import PROGRAM_TIMEOUT_S  # noqa: E402
from wait import wait_until  # noqa: E402
from windowsobs import windows_path  # noqa: E402
from winemachine import WineMachine  # noqa: E402

PLUGINS = "ProgramData/obs-studio/plugins"
MODULE = "bin/64bit/tarvoline-srtla.dll"
INSTALLED = {
    MODULE, "data/locale/de-DE.ini", "data/locale/en-US.ini", "data/manifest.json", "README.txt", "LIESMICH.txt", "LICENSE.txt",
    "uninstall/unins000.exe", "uninstall/unins000.dat",
}
UNINSTALL_LIST = r"HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall"
APP_KEY = UNINSTALL_LIST + r"\{7C0E5A54-2F5B-4B0F-9B7C-3C6C8D5B1A92}_is1"
SETTINGS_KEY = r"HKCU\Software\Tarvoline\SRTLA OBS Plugin"
SILENT = ("/VERYSILENT", "/SUPPRESSMSGBOXES", "/NORESTART")
UPDATER_SWITCHES = ("/SP-", "/CLOSEAPPLICATIONS", "/RESTARTAPPLICATIONS")
OBS_FOLDER = "Program Files/obs-studio"
OBS_PROGRAM = OBS_FOLDER + "/bin/64bit/obs64.exe"
OTHER_OBS_PROGRAM = "portable/obs/bin/64bit/obs64.exe"
FIREWALL_RULE = "Tarvoline SRTLA (OBS Studio, UDP)"

# Some conditions press a key at each poll; Setup needs time to draw its next page in between.
_POLL_S = 0.1


class PackageCase(unittest.TestCase):
    """A test of the packages. The attributes are arguments of the test program: see configure()."""

    packages = version = None

    def archive(self, suffix=""):
        """The opened archive without suffix, "-portable" or "-pdb"."""
        file = self.packages / f"Tarvoline-SRTLA-Plugin-v{self.version}-windows-x64{suffix}.zip"
        return self.enterContext(zipfile.ZipFile(file))

    def packaged_module(self):
        """The bytes of the module in the archive."""
        return self.archive().read("tarvoline-srtla/" + MODULE)


class MachineCase(PackageCase):
    """A test of the installer, with a separate Wine prefix."""

    obs_stand_in = tools = None

    def setUp(self):
        self.machine = WineMachine(self.tools, dict(os.environ))
        self.addCleanup(self.machine.close)
        self.setup = self.packages / f"Tarvoline-SRTLA-Plugin-Setup-v{self.version}.exe"

    @property
    def app(self):
        return self.machine.drive_c / PLUGINS / "tarvoline-srtla"

    def installed_files(self):
        return self.machine.files(PLUGINS + "/tarvoline-srtla")

    def install(self, *switches, setup=None):
        """Exit code of a silent installation."""
        return self.machine.run(setup or self.setup, *SILENT, *switches).returncode

    def uninstall(self, *switches):
        """Exit code of a silent uninstallation."""
        code = self.machine.run(self.app / "uninstall" / "unins000.exe", *SILENT, *switches).returncode
        # The uninstaller continues in a copy of itself, which deletes the original last.
        wait_for(lambda: not (self.app / "uninstall" / "unins000.exe").exists(), "the end of the uninstaller")
        return code

    def start(self, program, *switches):
        """Starts a program; it is killed at the end of the test."""
        process = self.machine.start(program, *switches)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process

    def run_qt_test(self, program, *functions):
        """Exit code and report of a Qt Test program."""
        report = self.machine.drive_c / "report.txt"
        result = self.machine.run(program, "-o", r"C:\report.txt,txt", *functions)
        return result.returncode, report.read_text() if report.exists() else result.stdout

    def variant(self, text, replacement, extra_file=None):
        """Compiles the installer from its script with `text` replaced, optionally with one more file. Returns the installer."""
        folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        tree = folder / "tree"
        self.archive().extractall(tree)
        if extra_file:
            (tree / "tarvoline-srtla" / extra_file).write_text("x")
        source = self.packages.parent / "packaging/windows"
        for name in ("obs.pas", "settings.pas"):
            (folder / name).write_bytes((source / name).read_bytes())
        script = (source / "installer.iss").read_text()
        self.assertIn(text, script)
        (folder / "installer.iss").write_text(script.replace(text, replacement))
        compiler = os.environ["TARVOLINE_INNO_SETUP"] + "/bin/ISCC.exe"
        defines = {"Tree": tree / "tarvoline-srtla", "Readme": tree, "Output": folder}
        result = self.machine.run(compiler, *(f"/D{name}={windows_path(path)}" for name, path in defines.items()),
                                  windows_path(folder / "installer.iss"))
        self.assertEqual(result.returncode, 0, result.stdout)
        return next(folder.glob("*.exe"))

    def install_obs(self):
        """Installs the stand-in for OBS with the registry key of OBS's installer."""
        self.install_program(OBS_PROGRAM)
        self.machine.set_registry(r"HKLM\Software\OBS Studio", "", r"C:\Program Files\obs-studio")

    def install_program(self, program, library="obs.dll"):
        """Installs the stand-in for OBS with a library beside it; obs.dll identifies OBS."""
        self.machine.write(program, self.obs_stand_in.read_bytes())
        self.machine.write(f"{program.rpartition('/')[0]}/{library}")

    def start_obs(self, *switches, program=OBS_PROGRAM):
        self.start(self.machine.drive_c / program, *switches)
        wait_for(lambda: self.obs_log(program) == ["start"], "the start of OBS")

    def obs_log(self, program=OBS_PROGRAM):
        """The events of the stand-in for OBS so far: "start", "disturbed" (WM_CLOSE to another window than the main
        window), "end"."""
        log = (self.machine.drive_c / program).with_suffix(".log")
        return [line.split()[0] for line in log.read_text().splitlines()] if log.exists() else []


def wait_for(condition, what):
    """Waits until `condition` returns true; see wait.wait_until()."""
    return wait_until(condition, what, PROGRAM_TIMEOUT_S, _POLL_S)


def configure(packages, version, obs_stand_in, tools):
    """Sets the common arguments of the test programs: the folder of the packages, their version, the stand-in for OBS, the
    folder of the Wine scripts."""
    PackageCase.packages, PackageCase.version = Path(packages), version
    MachineCase.obs_stand_in, MachineCase.tools = Path(obs_stand_in), Path(tools)
