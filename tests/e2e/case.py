# SPDX-License-Identifier: GPL-2.0-or-later
"""What the tests of the whole road share: the programs, which end with the test, and a folder for its files."""

import itertools
import os
import pathlib
import shutil
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "testkit"))

import stream  # noqa: E402

_PROJECT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("TARVOLINE_BUILD", _PROJECT / "build" / "linux"))

UNDER_WINE = "TARVOLINE_UNDER_WINE" in os.environ
# proot, which stands in where nobody may mount, traces all programs one after the other at each of their system calls.
TRACED = "TracerPid:\t0\n" not in pathlib.Path("/proc/self/status").read_text(encoding="ascii")
# SRT drops what comes too late: under both a slower stream with more time keeps the machine's load out of the result.
# Rate times time must fit SRT's receive buffer of 8192 packets.
_EASIER_STREAM = {"megabits_per_second": 16.0, "latency_ms": 5000} if UNDER_WINE or TRACED else {}
_EASIER_OF_TWO = {"megabits_per_second": 8.0, "latency_ms": 8000} if UNDER_WINE or TRACED else {}

_REPEATED_AFTER_S = 1.0
_ROUNDED_TO_S = 0.001  # what the sender writes about its clock


class RoadCase(unittest.TestCase):
    """A test with programs; those that it leaves running are killed."""

    maxDiff = None

    def setUp(self):
        self.folder = BUILD / "tests" / "e2e" / self.id().removeprefix("__main__.")
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir(parents=True)
        # What is received is big, and of use only while the test runs.
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def keep(self, program):
        """Has the program killed at the end of the test."""
        self.addCleanup(program.kill)
        return program

    def engine(self, target_port, port=None, **options):
        """A running engine host."""
        return self.keep(stream.EngineHost(target_port, port, **options))

    def bond(self, engine, links, *options):
        """A bonding sender towards `engine` whose links are all registered."""
        bond = self.keep(stream.BondSender(engine.port, links, *options))
        bond.wait_for_links()
        return bond

    def asked_for_groups(self, bond):
        """How often `bond` has asked a receiver for a group: once for each that it needed, and again only after it has
        waited for the answer."""
        times = [line["seconds"] for line in bond.events("groupAsked")]
        for earlier, later in itertools.pairwise(times):
            self.assertGreaterEqual(round(later - earlier, 3), _REPEATED_AFTER_S - _ROUNDED_TO_S, times)
        return len(times)

    def listener(self, **options):
        """A real SRT listener that receives into `self.folder / "received"`."""
        received = self.folder / "received"
        received.mkdir(exist_ok=True)
        return self.keep(stream.SrtReceiver(received, **options))

    def caller(self, bond, file, *, one_of_two=False, **options):
        """A real SRT caller that sends `file` through `bond`, perhaps beside another one."""
        easier = _EASIER_OF_TWO if one_of_two else _EASIER_STREAM
        return self.keep(stream.SrtSender(bond.port, file, **{**easier, **options}))


def main():
    """Runs the tests of the calling file."""
    unittest.main(verbosity=2)
