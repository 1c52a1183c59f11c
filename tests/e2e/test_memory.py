# SPDX-License-Identifier: GPL-2.0-or-later
"""The receiver under valgrind, from its start over two sessions of a sender to its stop: no invalid access, no decision
on memory that nobody wrote, nothing lost."""

import filecmp
import random

from case import RoadCase, main

FOUND_SOMETHING = 99
MEMCHECK = ["valgrind", f"--error-exitcode={FOUND_SOMETHING}", "--leak-check=full", "--show-leak-kinds=definite",
            "--errors-for-leak-kinds=definite"]
FILE_SIZE = 1024 * 1024 + 777
LINKS = ["127.0.0.11", "127.0.0.12", "127.0.0.13"]
# The half of the group's id by which the receiver knows the sender again.
SENDER = ["--id", "5a" * 128]


class MemoryTest(RoadCase):
    """One run of the engine host under a memory checker."""

    def test_start_stream_stop(self):
        """A stream over three links, one of which falls silent, then the same sender anew."""
        file = self.folder / "sent"
        file.write_bytes(random.Random(1).randbytes(FILE_SIZE))
        report = self.folder / "valgrind"
        listener = self.listener()
        engine = self.engine(listener.port, below=[*MEMCHECK, f"--log-file={report}"])

        bond = self.bond(engine, [LINKS[0], LINKS[1], LINKS[2] + ",cut=2s-"], *SENDER)
        # Slow and patient: every instruction of the receiver takes many times its time.
        caller = self.caller(bond, file, stream_id="one", megabits_per_second=2.0, latency_ms=5000)
        self.assertEqual(listener.exit_code(), 0, listener.tail())
        self.assertEqual(caller.exit_code(), 0, caller.tail())
        self.assertTrue(filecmp.cmp(file, self.folder / "received" / "one", shallow=False))
        engine.wait_for_log(lambda line: line.startswith(f"TIMEOUT | Weg {LINKS[2]}:"), "the silent link is dropped")
        bond.finish()

        self.bond(engine, LINKS, *SENDER).finish()
        code = engine.stop()
        self.assertEqual(code, 0, report.read_text(encoding="utf-8"))
        self.assertEqual([line.split(": ")[1] for line in engine.log() if line.startswith("GRUPPE | ")],
                         ["Neue Sitzung desselben Senders", "Receiver gestoppt"])
        self.assertIn("ERROR SUMMARY: 0 errors", report.read_text(encoding="utf-8"))


if __name__ == "__main__":
    main()
