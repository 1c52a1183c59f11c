# SPDX-License-Identifier: GPL-2.0-or-later
"""Base of the end-to-end tests: programs that are killed at the end of a test, and a folder for its files."""

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

# proot, used where mounts are not permitted, traces every system call of all programs in one process.
TRACED = "TracerPid:\t0\n" not in pathlib.Path("/proc/self/status").read_text(encoding="ascii")

_RETRY_INTERVAL_S = 1.0
_RESOLUTION_S = 0.001  # of the sender's time stamps


class ProgramCase(unittest.TestCase):
    """A test with programs, which are killed at its end."""

    maxDiff = None

    def setUp(self):
        self.folder = BUILD / "tests" / "e2e" / self.id().removeprefix("__main__.")
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir(parents=True)
        # The received files are large.
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def keep(self, program):
        """Registers the program to be killed at the end of the test."""
        self.addCleanup(program.kill)
        return program

    def engine(self, target_port, port=None, **options):
        """A running engine host."""
        return self.keep(stream.EngineHost(target_port, port, **options))

    def bond(self, engine, links, *options):
        """A bonding sender to `engine` with all links registered."""
        bond = self.keep(stream.BondSender(engine.port, links, *options))
        bond.wait_for_links()
        return bond

    def group_requests(self, bond):
        """Number of REG1 packets of `bond`. Checks that repetitions keep the retry interval."""
        times = [line["seconds"] for line in bond.events("groupRequested")]
        for earlier, later in itertools.pairwise(times):
            self.assertGreaterEqual(round(later - earlier, 3), _RETRY_INTERVAL_S - _RESOLUTION_S, times)
        return len(times)

    def listener(self, **options):
        """A real SRT listener that receives into `self.folder / "received"`."""
        received = self.folder / "received"
        received.mkdir(exist_ok=True)
        return self.keep(stream.SrtReceiver(received, **options))

    def caller(self, bond, file, **options):
        """A real SRT caller that sends `file` through `bond`."""
        return self.keep(stream.SrtSender(bond.port, file, **options))


def main():
    """Runs the tests of the calling file."""
    unittest.main(verbosity=2)
