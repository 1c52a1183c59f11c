# SPDX-License-Identifier: GPL-2.0-or-later
"""The receiver under valgrind with two sessions of a sender: no invalid access, no use of uninitialised memory, no leak."""

import filecmp
import random

from case import ProgramCase, main

ERROR_EXIT = 99
MEMCHECK = ["valgrind", f"--error-exitcode={ERROR_EXIT}", "--leak-check=full", "--show-leak-kinds=definite",
            "--errors-for-leak-kinds=definite"]
FILE_SIZE = 1024 * 1024 + 777
LINKS = ["127.0.0.11", "127.0.0.12", "127.0.0.13"]
# The sender's half of the group id.
SENDER = ["--id", "5a" * 128]


class MemoryTest(ProgramCase):
    """One run of the engine host under memcheck."""

    def test_start_stream_stop(self):
        """A stream over three links, one of which times out, then a new session of the same sender."""
        file = self.folder / "sent"
        file.write_bytes(random.Random(1).randbytes(FILE_SIZE))
        report = self.folder / "valgrind"
        listener = self.listener()
        engine = self.engine(listener.port, below=[*MEMCHECK, f"--log-file={report}"])

        bond = self.bond(engine, [LINKS[0], LINKS[1], LINKS[2] + ",cut=2s-"], *SENDER)
        # A low rate and a high latency, because valgrind slows the receiver down.
        caller = self.caller(bond, file, stream_id="one", megabits_per_second=2.0, latency_ms=5000)
        self.assertEqual(listener.exit_code(), 0, listener.tail())
        self.assertEqual(caller.exit_code(), 0, caller.tail())
        self.assertTrue(filecmp.cmp(file, self.folder / "received" / "one", shallow=False))
        engine.wait_for_log(lambda line: line.startswith(f"TIMEOUT | Weg {LINKS[2]}:"), "the silent link is removed")
        bond.finish()

        self.bond(engine, LINKS, *SENDER).finish()
        code = engine.stop()
        self.assertEqual(code, 0, report.read_text(encoding="utf-8"))
        self.assertEqual([line.split(": ")[1] for line in engine.log() if line.startswith("GRUPPE | ")],
                         ["Neue Sitzung desselben Senders", "Receiver gestoppt"])
        self.assertIn("ERROR SUMMARY: 0 errors", report.read_text(encoding="utf-8"))


if __name__ == "__main__":
    main()
