# SPDX-License-Identifier: GPL-2.0-or-later
"""Streams with failing links, listener, receiver and sender (testkit/faults), in the quick form."""

import unittest

from case import BUILD, TRACED, main

import faults

AT_ONCE = 4
COVERED = {"nothing", "links cut one by one, 2 s each", "all links cut for 1 s", "every link gets a new port in turn",
           "100 ms between the links", "10 % loss on one link", "5 % duplicates on every link",
           "receiver stalls for 1 s", "20 senders at once"}
INTERRUPTED = {"all links cut for 20 s", "listener killed and restarted", "receiver stopped and started",
               "sender restarted with the same id", "sender restarted with a new id"}
if TRACED:  # proot is too slow for twenty streams at once
    COVERED.remove("20 senders at once")


class FaultsTest(unittest.TestCase):
    """With the real programs."""

    def test_quick_form(self):
        """Faults covered by SRT's latency lose nothing; after other faults the stream recovers."""
        wanted = [fault for fault in faults.chosen([], quick=True) if fault.name in COVERED | INTERRUPTED]
        rows = {row["fault"]: row for row in faults.rows(wanted, BUILD / "tests" / "faults", faults.QUICK, AT_ONCE)}
        self.assertEqual(set(rows), COVERED | INTERRUPTED)
        for name, row in rows.items():
            self.assertEqual(faults.verdict(row), "", f"{name}: {row}")
        for name in COVERED:
            self.assertEqual(rows[name]["lostBytes"], 0, name)
        for name in INTERRUPTED:
            # Without a loss the fault did not happen.
            self.assertGreater(rows[name]["lostBytes"], 0, name)
            self.assertGreater(rows[name]["recoveredAfterS"], 0, name)
        self.assertEqual(rows["sender restarted with the same id"]["reconnections"], 0)
        self.assertGreater(rows["receiver stopped and started"]["reconnections"], 0)
        self.assertGreater(rows["all links cut for 1 s"]["packetsThatLinksLost"], 0)

    def test_all_quick_faults_are_checked(self):
        """Every fault of the quick form is checked above."""
        names = {fault.name for fault in faults.FAULTS if fault.quick}
        self.assertEqual(names - {"20 senders at once"}, (COVERED | INTERRUPTED) - {"20 senders at once"})

    def test_verdicts(self):
        """A loss is an error if SRT's latency covers the fault; a missing recovery is always an error."""
        self.assertEqual(faults.verdict({"covered": True, "lostBytes": 0}), "")
        self.assertEqual(faults.verdict({"covered": True, "lostBytes": 1}), "LOST")
        self.assertEqual(faults.verdict({"covered": False, "lostBytes": 1}), "")
        self.assertEqual(faults.verdict({"covered": False, "failure": "ended"}), "NOT RECOVERED")


if __name__ == "__main__":
    main()
