# SPDX-License-Identifier: GPL-2.0-or-later
"""Streams while links, listener, receiver and sender break (testkit/faults), in the quick form."""

import unittest

from case import BUILD, TRACED, main

import faults

AT_ONCE = 4
COVERED = {"nothing", "links cut one by one, 2 s each", "all links cut for 1 s", "every link gets a new port in turn",
           "100 ms between the links", "10 % loss on one link", "5 % duplicates on every link",
           "receiver stalls for 1 s", "20 senders at once"}
INTERRUPTED = {"all links cut for 20 s", "listener killed and restarted", "receiver stopped and started",
               "sender restarted with the same id", "sender restarted with a new id"}
if TRACED:  # as by proot: twenty streams at once are more than one tracer passes on
    COVERED.remove("20 senders at once")


class FaultsTest(unittest.TestCase):
    """The real programs."""

    def test_quick_form(self):
        """What SRT's latency covers is delivered whole; after what it doesn't cover the stream flows again."""
        wanted = [fault for fault in faults.chosen([], quick=True) if fault.name in COVERED | INTERRUPTED]
        rows = {row["fault"]: row for row in faults.rows(wanted, BUILD / "tests" / "faults", faults.QUICK, AT_ONCE)}
        self.assertEqual(set(rows), COVERED | INTERRUPTED)
        for name, row in rows.items():
            self.assertEqual(faults.verdict(row), "", f"{name}: {row}")
        for name in COVERED:
            self.assertEqual(rows[name]["lostBytes"], 0, name)
        for name in INTERRUPTED:
            # Something has been lost, or the fault did not happen; and it was not all that came after it.
            self.assertGreater(rows[name]["lostBytes"], 0, name)
            self.assertGreater(rows[name]["recoveredAfterS"], 0, name)
        self.assertEqual(rows["sender restarted with the same id"]["reconnections"], 0)
        self.assertGreater(rows["receiver stopped and started"]["reconnections"], 0)
        self.assertGreater(rows["all links cut for 1 s"]["packetsThatLinksLost"], 0)

    def test_quick_form_is_what_is_listed_here(self):
        """A fault that is added to the quick form is judged here as well."""
        names = {fault.name for fault in faults.FAULTS if fault.quick}
        self.assertEqual(names - {"20 senders at once"}, (COVERED | INTERRUPTED) - {"20 senders at once"})

    def test_verdicts(self):
        """A loss counts where SRT's latency covers the fault, and a stream that never came back always."""
        self.assertEqual(faults.verdict({"covered": True, "lostBytes": 0}), "")
        self.assertEqual(faults.verdict({"covered": True, "lostBytes": 1}), "LOST")
        self.assertEqual(faults.verdict({"covered": False, "lostBytes": 1}), "")
        self.assertEqual(faults.verdict({"covered": False, "failure": "ended"}), "NEVER CAME BACK")


if __name__ == "__main__":
    main()
