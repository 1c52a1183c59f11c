# SPDX-License-Identifier: GPL-2.0-or-later
"""The installer beside a running OBS, Windows' firewall, and a processor that the module is not made for.

Usage: test_setup.py PACKAGES VERSION STAND-IN-OBS TOOLS-OF-WINE STAND-IN-NETSH
"""

import sys
import unittest
from pathlib import Path

from keyboard import press, windowWithTheKeyboard
from machinecase import (APP_KEY, FIREWALL_RULE, INSTALLED, OBS_PROGRAM, OTHER_OBS_PROGRAM, UPDATERS_SWITCHES, MachineCase)
from winemachine import waitFor


class RunningObs(MachineCase):
    def testRunningObsIsClosedAndStartedAgain(self):
        self.haveObs()
        self.startObs()
        self.assertEqual(self.install(*UPDATERS_SWITCHES), 0)
        waitFor(lambda: len(self.obsLog()) >= 3, "the new start of OBS")
        self.assertEqual(self.obsLog(), ["start", "end", "start"])
        log = (self.machine.driveC / OBS_PROGRAM).with_suffix(".log").read_text().splitlines()
        self.assertEqual(log[2], r"start C:\Program Files\obs-studio\bin\64bit")
        self.assertEqual(self.installedFiles(), INSTALLED)

    def testObsThatHasQuitIsStartedAgain(self):
        self.haveObs()
        self.assertEqual(self.install(*UPDATERS_SWITCHES), 0)
        waitFor(lambda: self.obsLog() == ["start"], "the start of OBS")

    def testObsIsNotStartedUnasked(self):
        self.haveObs()
        self.startObs()
        self.assertEqual(self.install("/CLOSEAPPLICATIONS"), 0)
        self.assertEqual(self.obsLog(), ["start", "end"])

    def testObsInTheTrayIsClosed(self):
        self.haveObs()
        self.startObs("--minimize-to-tray")
        self.assertEqual(self.install("/CLOSEAPPLICATIONS"), 0)
        self.assertEqual(self.obsLog(), ["start", "end"])

    def testRunningObsIsNotClosedUnasked(self):
        self.haveObs()
        self.startObs()
        self.assertNotEqual(self.install(), 0)
        self.assertEqual(self.obsLog(), ["start"])
        self.assertEqual(self.machine.files("ProgramData/obs-studio"), set())

    def testEveryRunningObsIsClosed(self):
        self.haveObs()
        self.haveProgram(OTHER_OBS_PROGRAM)
        self.startObs()
        self.startObs(program=OTHER_OBS_PROGRAM)
        self.assertEqual(self.install("/CLOSEAPPLICATIONS"), 0)
        self.assertEqual(self.obsLog(), ["start", "end"])
        self.assertEqual(self.obsLog(OTHER_OBS_PROGRAM), ["start", "end"])

    def testAnotherProgramOfThatNameIsLeftAlone(self):
        self.haveProgram(OTHER_OBS_PROGRAM, library="other.dll")
        self.startObs(program=OTHER_OBS_PROGRAM)
        self.assertEqual(self.install(*UPDATERS_SWITCHES), 0)
        self.assertEqual(self.installedFiles(), INSTALLED)
        self.assertEqual(self.obsLog(OTHER_OBS_PROGRAM), ["start"])


class Firewall(MachineCase):
    standInNetsh = None
    DELETE = f'advfirewall firewall delete rule name="{FIREWALL_RULE}"'
    ADD = (f'advfirewall firewall add rule name="{FIREWALL_RULE}" dir=in action=allow protocol=UDP profile=any '
           r'program="C:\Program Files\obs-studio\bin\64bit\obs64.exe"')

    def setUp(self):
        super().setUp()
        netsh = self.machine.driveC / "windows/system32/netsh.exe"
        netsh.unlink()  # a link to the template's
        netsh.write_bytes(self.standInNetsh.read_bytes())
        self.machine.setEnvironment("WINEDLLOVERRIDES", "mscoree=;mshtml=;netsh.exe=n")
        self.log = netsh.with_suffix(".log")

    def calls(self):
        """What netsh was asked since the last look."""
        calls = self.log.read_text().splitlines() if self.log.exists() else []
        self.log.unlink(missing_ok=True)
        return calls

    def testTheRuleIsMadeAndRemoved(self):
        self.haveObs()
        self.assertEqual(self.install(), 0)
        self.assertEqual(self.calls(), [self.DELETE, self.ADD])
        self.assertEqual(self.install(), 0)  # one rule after an update, too
        self.assertEqual(self.calls(), [self.DELETE, self.ADD])
        self.uninstall()
        waitFor(lambda: not self.app.exists(), "the plug-in's folder to go")
        self.assertEqual(self.calls(), [self.DELETE])

    def testWhoTakesTheTaskAwayGetsNoRule(self):
        self.haveObs()
        self.assertEqual(self.install("/TASKS="), 0)
        self.assertEqual(self.calls(), [self.DELETE])
        self.assertEqual(self.install(), 0)  # an update keeps the choice
        self.assertEqual(self.calls(), [self.DELETE])

    def testWithoutObsThereIsNoRule(self):
        self.assertEqual(self.install(), 0)
        self.assertEqual(self.calls(), [self.DELETE])


class Arm64(MachineCase):
    TITLE = "Setup"

    def setUp(self):
        super().setUp()
        # There is no such machine here, so Setup is told that this is one.
        self.armSetup = self.variant("Result := not IsArm64;", "Result := False;")

    def testASilentSetupInstallsNothing(self):
        self.assertNotEqual(self.install(setup=self.armSetup), 0)
        self.assertEqual(self.machine.files("ProgramData/obs-studio"), set())
        self.assertIsNone(self.machine.registry(APP_KEY))

    def testTheUserIsTold(self):
        setup = self.machine.start(self.armSetup)
        self.addCleanup(setup.wait)
        self.addCleanup(setup.kill)
        waitFor(lambda: windowWithTheKeyboard() == self.TITLE, "the message")
        press("Return")
        waitFor(lambda: setup.poll() is not None, "the end of Setup")
        self.assertNotEqual(setup.returncode, 0)
        self.assertEqual(self.machine.files("ProgramData/obs-studio"), set())


if __name__ == "__main__":
    MachineCase.take(*sys.argv[1:5])
    Firewall.standInNetsh = Path(sys.argv[5])
    unittest.main(argv=sys.argv[:1] + sys.argv[6:])
