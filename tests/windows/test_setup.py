# SPDX-License-Identifier: GPL-2.0-or-later
"""The installer with a running OBS, the Windows firewall, and Windows for ARM64.

Usage: test_setup.py PACKAGES VERSION OBS-STAND-IN WINE-TOOLS NETSH-STAND-IN
"""

import sys
import unittest
from pathlib import Path

from keyboard import focused_window, press
from machinecase import (APP_KEY, FIREWALL_RULE, INSTALLED, OBS_PROGRAM, OTHER_OBS_PROGRAM, UPDATER_SWITCHES, MachineCase,
                         configure, wait_for)


class RunningObsTest(MachineCase):
    def test_running_obs_is_closed_and_restarted(self):
        self.install_obs()
        self.start_obs()
        self.assertEqual(self.install(*UPDATER_SWITCHES), 0)
        wait_for(lambda: len(self.obs_log()) >= 3, "the restart of OBS")
        self.assertEqual(self.obs_log(), ["start", "end", "start"])
        log = (self.machine.drive_c / OBS_PROGRAM).with_suffix(".log").read_text().splitlines()
        self.assertEqual(log[2], r"start C:\Program Files\obs-studio\bin\64bit")
        self.assertEqual(self.installed_files(), INSTALLED)

    def test_obs_that_has_quit_is_restarted(self):
        self.install_obs()
        self.assertEqual(self.install(*UPDATER_SWITCHES), 0)
        wait_for(lambda: self.obs_log() == ["start"], "the start of OBS")

    def test_obs_is_not_restarted_without_the_switch(self):
        self.install_obs()
        self.start_obs()
        self.assertEqual(self.install("/CLOSEAPPLICATIONS"), 0)
        self.assertEqual(self.obs_log(), ["start", "end"])

    def test_obs_in_the_tray_is_closed(self):
        self.install_obs()
        self.start_obs("--minimize-to-tray")
        self.assertEqual(self.install("/CLOSEAPPLICATIONS"), 0)
        self.assertEqual(self.obs_log(), ["start", "end"])

    def test_running_obs_is_not_closed_without_the_switch(self):
        self.install_obs()
        self.start_obs()
        self.assertNotEqual(self.install(), 0)
        self.assertEqual(self.obs_log(), ["start"])
        self.assertEqual(self.machine.files("ProgramData/obs-studio"), set())

    def test_all_running_obs_are_closed(self):
        self.install_obs()
        self.install_program(OTHER_OBS_PROGRAM)
        self.start_obs()
        self.start_obs(program=OTHER_OBS_PROGRAM)
        self.assertEqual(self.install("/CLOSEAPPLICATIONS"), 0)
        self.assertEqual(self.obs_log(), ["start", "end"])
        self.assertEqual(self.obs_log(OTHER_OBS_PROGRAM), ["start", "end"])

    def test_other_programs_with_the_name_of_obs_are_ignored(self):
        self.install_program(OTHER_OBS_PROGRAM, library="other.dll")
        self.start_obs(program=OTHER_OBS_PROGRAM)
        self.assertEqual(self.install(*UPDATER_SWITCHES), 0)
        self.assertEqual(self.installed_files(), INSTALLED)
        self.assertEqual(self.obs_log(OTHER_OBS_PROGRAM), ["start"])


class FirewallTest(MachineCase):
    netsh_stand_in = None
    DELETE = f'advfirewall firewall delete rule name="{FIREWALL_RULE}"'
    ADD = (f'advfirewall firewall add rule name="{FIREWALL_RULE}" dir=in action=allow protocol=UDP profile=any '
           r'program="C:\Program Files\obs-studio\bin\64bit\obs64.exe"')

    def setUp(self):
        super().setUp()
        netsh = self.machine.drive_c / "windows/system32/netsh.exe"
        netsh.unlink()  # a hard link to the template's file
        netsh.write_bytes(self.netsh_stand_in.read_bytes())
        self.machine.set_environment("WINEDLLOVERRIDES", "mscoree=;mshtml=;netsh.exe=n")
        self.log = netsh.with_suffix(".log")

    def take_calls(self):
        """The command lines of netsh since the previous call."""
        calls = self.log.read_text().splitlines() if self.log.exists() else []
        self.log.unlink(missing_ok=True)
        return calls

    def test_rule_is_added_and_removed(self):
        self.install_obs()
        self.assertEqual(self.install(), 0)
        self.assertEqual(self.take_calls(), [self.DELETE, self.ADD])
        self.assertEqual(self.install(), 0)  # an update does not add a second rule
        self.assertEqual(self.take_calls(), [self.DELETE, self.ADD])
        self.uninstall()
        wait_for(lambda: not self.app.exists(), "removal of the plug-in's folder")
        self.assertEqual(self.take_calls(), [self.DELETE])

    def test_no_rule_without_the_task(self):
        self.install_obs()
        self.assertEqual(self.install("/TASKS="), 0)
        self.assertEqual(self.take_calls(), [self.DELETE])
        self.assertEqual(self.install(), 0)  # an update keeps the selection
        self.assertEqual(self.take_calls(), [self.DELETE])

    def test_no_rule_without_obs(self):
        self.assertEqual(self.install(), 0)
        self.assertEqual(self.take_calls(), [self.DELETE])


class Arm64Test(MachineCase):
    TITLE = "Setup"

    def setUp(self):
        super().setUp()
        # Wine runs on x64 here, so the variant takes every processor for ARM64.
        self.arm64_setup = self.variant("Result := not IsArm64;", "Result := False;")

    def test_silent_setup_installs_nothing(self):
        self.assertNotEqual(self.install(setup=self.arm64_setup), 0)
        self.assertEqual(self.machine.files("ProgramData/obs-studio"), set())
        self.assertIsNone(self.machine.registry(APP_KEY))

    def test_setup_shows_a_message(self):
        setup = self.start(self.arm64_setup)
        wait_for(lambda: focused_window() == self.TITLE, "the message")
        press("Return")
        wait_for(lambda: setup.poll() is not None, "the end of Setup")
        self.assertNotEqual(setup.returncode, 0)
        self.assertEqual(self.machine.files("ProgramData/obs-studio"), set())


if __name__ == "__main__":
    configure(*sys.argv[1:5])
    FirewallTest.netsh_stand_in = Path(sys.argv[5])
    unittest.main(argv=sys.argv[:1] + sys.argv[6:])
