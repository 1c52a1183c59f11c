# SPDX-License-Identifier: GPL-2.0-or-later
"""Streams while links, listener, receiver and sender break: the quick form of bench/torture, and its verdicts."""

import contextlib
import io
import json
import os
import pathlib
import subprocess
import sys
import unittest

PROJECT = pathlib.Path(__file__).resolve().parents[2]
TORTURE = PROJECT / "bench" / "torture"
sys.path[:0] = [str(PROJECT / "tests" / "support"), str(PROJECT / "bench")]

from case import TRACED  # noqa: E402
from underfire import faults, hour  # noqa: E402

COVERED = {"nothing", "links cut one by one, 2 s each", "all links cut for 1 s", "every link gets a new port in turn",
           "100 ms between the links", "10 % loss on one link", "5 % duplicates on every link",
           "receiver stalls for 1 s", "20 senders at once"}
INTERRUPTED = {"all links cut for 20 s", "listener killed and restarted", "receiver stopped and started",
               "sender restarted with the same id", "sender restarted with a new id"}
if TRACED:  # as by proot: twenty streams at once are more than one tracer passes on
    COVERED.remove("20 senders at once")


def torture(*arguments):
    """Runs the command to its end."""
    return subprocess.run([sys.executable, "-B", TORTURE, *arguments], capture_output=True, encoding="utf-8",
                          check=False)


class TortureTest(unittest.TestCase):
    """The command with the real programs."""

    def test_quick_form(self):
        """What SRT's latency covers is delivered whole, and what it doesn't cover ends with the stream flowing again."""
        figures = pathlib.Path(os.environ.get("TARVOLINE_BUILD", PROJECT / "build")) / "torture.json"
        done = torture("--quick", "--json", figures, *(sorted(COVERED | INTERRUPTED) if TRACED else ()))
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        rows = {row["fault"]: row for row in json.loads(figures.read_text(encoding="utf-8"))}
        self.assertEqual(set(rows), COVERED | INTERRUPTED)
        for name in COVERED:
            self.assertEqual(rows[name]["lostBytes"], 0, name)
        for name in INTERRUPTED:
            # Something has been lost, or the fault did not happen; and it was not all that came after it.
            self.assertGreater(rows[name]["lostBytes"], 0, name)
            self.assertGreater(rows[name]["recoveredAfterS"], 0, name)
        self.assertEqual(rows["sender restarted with the same id"]["reconnections"], 0)
        self.assertGreater(rows["receiver stopped and started"]["reconnections"], 0)
        self.assertGreater(rows["all links cut for 1 s"]["packetsThatLinksLost"], 0)

    def test_unknown_fault(self):
        """A mistyped name is an error that says which there are."""
        done = torture("nothing", "earthquake")
        self.assertEqual(done.returncode, 2)
        self.assertEqual(done.stdout, "")
        for fault in faults.FAULTS:
            self.assertIn(f"  {fault.name}\n", done.stderr)
        self.assertIn("  hour\n", done.stderr)


class HourTest(unittest.TestCase):
    """What the hour's rows are judged by."""

    @staticmethod
    def looks(*, rss=(900, 1000, 1010, 1020), handles=(9, 12, 12, 12), dropped=(0, 0, 0, 0)):
        """Rows of four minutes."""
        return [hour.Look(minute, rss[minute - 1], handles[minute - 1], 0, 1000 * minute, dropped[minute - 1])
                for minute in range(1, 5)]

    def test_flat(self):
        """Some pages more, and what the first minute takes, are no leak."""
        self.assertEqual(hour.findings(self.looks()), [])

    def test_growing_memory(self):
        """More than a mebibyte after the second minute is one."""
        self.assertEqual(hour.findings(self.looks(rss=(900, 1000, 1500, 2025))), ["memory grew from 1000 to 2025 KiB"])

    def test_growing_handles(self):
        """A handle more is one."""
        self.assertEqual(hour.findings(self.looks(handles=(9, 12, 12, 13))), ["handles grew from 12 to 13"])

    def test_loss(self):
        """The stream's packets count too."""
        self.assertEqual(hour.findings(self.looks(dropped=(0, 0, 0, 2))), ["2 packets of the stream were lost"])

    def test_too_short(self):
        """One minute tells nothing."""
        self.assertEqual(hour.findings(self.looks()[:1]), ["too short to say anything"])

    def test_looks_at_real_processes(self):
        """The figures of this process are what they are."""
        before = hour.handles(os.getpid())
        with contextlib.closing(io.FileIO(os.devnull)):
            self.assertEqual(hour.handles(os.getpid()), before + 1)
        small = hour.rss_kib(os.getpid())
        ballast = b"x" * (16 << 20)
        self.assertGreater(hour.rss_kib(os.getpid()), small + 8 * 1024)
        del ballast


if __name__ == "__main__":
    unittest.main(verbosity=2)
