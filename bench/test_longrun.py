# SPDX-License-Identifier: GPL-2.0-or-later
"""Evaluation of the rows of `bench/faults hour`."""

import contextlib
import io
import os
import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "testkit"))

import longrun  # noqa: E402


class LongRunTest(unittest.TestCase):
    """Evaluation of the rows."""

    @staticmethod
    def samples(*, rss=(900, 1000, 1010, 1020), handles=(9, 12, 12, 12), dropped=(0, 0, 0, 0)):
        """Rows of four minutes."""
        return [longrun.Sample(minute, rss[minute - 1], handles[minute - 1], 0, 1000 * minute, dropped[minute - 1])
                for minute in range(1, 5)]

    def test_flat(self):
        """A few pages and the growth of the warm-up are no leak."""
        self.assertEqual(longrun.findings(self.samples()), [])

    def test_growing_memory(self):
        """More than 1 MiB after the second minute is a leak."""
        self.assertEqual(longrun.findings(self.samples(rss=(900, 1000, 1500, 2025))), ["memory grew from 1000 to 2025 KiB"])

    def test_growing_handles(self):
        """One additional handle is a leak."""
        self.assertEqual(longrun.findings(self.samples(handles=(9, 12, 12, 13))), ["handles grew from 12 to 13"])

    def test_loss(self):
        """Lost packets are an error."""
        self.assertEqual(longrun.findings(self.samples(dropped=(0, 0, 0, 2))), ["2 packets of the stream were lost"])

    def test_too_short(self):
        """One minute is too short."""
        self.assertEqual(longrun.findings(self.samples()[:1]), ["too short for a result"])

    def test_values_of_a_real_process(self):
        """Handles and memory of this process."""
        before = longrun.handles(os.getpid())
        with contextlib.closing(io.FileIO(os.devnull)):
            self.assertEqual(longrun.handles(os.getpid()), before + 1)
        small = longrun.rss_kib(os.getpid())
        ballast = b"x" * (16 << 20)
        self.assertGreater(longrun.rss_kib(os.getpid()), small + 8 * 1024)
        del ballast


if __name__ == "__main__":
    unittest.main(verbosity=2)
