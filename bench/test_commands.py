# SPDX-License-Identifier: GPL-2.0-or-later
"""Command lines of the benchmarks, and exit code and JSON file of the quick form."""

import json
import os
import pathlib
import subprocess
import sys
import unittest

PROJECT = pathlib.Path(__file__).resolve().parents[1]
BUILD = pathlib.Path(os.environ.get("TARVOLINE_BUILD", PROJECT / "build" / "linux"))
sys.path.insert(0, str(PROJECT / "testkit"))

from faults import FAULTS  # noqa: E402

EXIT_USAGE = 2


def command(name, *arguments):
    """Runs bench/NAME."""
    return subprocess.run([sys.executable, "-B", PROJECT / "bench" / name, *arguments], capture_output=True,
                          encoding="utf-8", check=False)


class FaultsTest(unittest.TestCase):
    """bench/faults."""

    def test_one_row(self):
        """A row is printed and written; exit code 0 without a loss."""
        file = BUILD / "faults.json"
        done = command("faults", "--quick", "--json", file, "nothing")
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        rows = json.loads(file.read_text(encoding="utf-8"))
        self.assertEqual([(row["fault"], row["lostBytes"]) for row in rows], [("nothing", 0)])
        self.assertRegex(done.stdout, rf"\nnothing +{rows[0]['sentBytes']} +{rows[0]['deliveredBytes']} +0 ")

    def test_unknown_fault(self):
        """An unknown name is an error that lists the known ones."""
        done = command("faults", "nothing", "earthquake")
        self.assertEqual((done.returncode, done.stdout), (EXIT_USAGE, ""))
        for fault in FAULTS:
            self.assertIn(f"  {fault.name}\n", done.stderr)
        self.assertIn("  hour\n", done.stderr)


class FloodsTest(unittest.TestCase):
    """bench/floods."""

    def test_unknown_flood(self):
        """An unknown name is an error that lists the known ones."""
        done = command("floods", "honey")
        self.assertEqual(done.returncode, EXIT_USAGE)
        self.assertIn("  no flood\n", done.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)
