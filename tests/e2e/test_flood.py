# SPDX-License-Identifier: GPL-2.0-or-later
"""A stream during a flood of registrations: nothing is lost, and the groups are removed after their time-out."""

import pathlib
import random
import resource
import subprocess

from case import BUILD, ProgramCase, main

LINKS = ["127.0.0.11", "127.0.0.12", "127.0.0.13"]
FLOOD = BUILD / "bin" / "flood"


class FloodTest(ProgramCase):
    """With the real receiver."""

    def test_reg1_during_a_stream(self):
        """The flood's groups time out; the stream's group stays."""
        sent = self.folder / "sent"
        sent.write_bytes(random.Random(1).randbytes(2_500_000))
        listener = self.listener()
        engine = self.engine(listener.port)
        bond = self.bond(engine, LINKS)
        caller = self.caller(bond, sent, megabits_per_second=2.0, latency_ms=4000)
        caller.wait_for(lambda line: line["event"] == "connected", "the caller is connected")
        # A rate without loss on a loaded machine. Arguments: port, kind, size, rate per second, ports, seconds.
        subprocess.run([FLOOD, *map(str, (engine.port, "reg1", 0, 500, 300, 3))], check=True, capture_output=True)
        engine.wait_for(lambda line: line.get("groups", 0) > 250, "the flood's groups are created")
        engine.wait_for(lambda line: line.get("groups") == 1 and len(engine.log()) > 600, "the flood's groups are removed")
        self.assertEqual(listener.exit_code(), 0, listener.tail())
        self.assertEqual(caller.exit_code(), 0, caller.tail())
        self.assertEqual((self.folder / "received" / "stream").read_bytes(), sent.read_bytes())
        self.assertEqual([line for line in engine.log() if "Weg" in line and "entfernt" in line], [])

    def test_groups_leave_descriptors(self):
        """With many groups a quarter of a low descriptor limit stays free, and the stream is complete."""
        limit = 200
        sent = self.folder / "sent"
        sent.write_bytes(random.Random(1).randbytes(1_500_000))
        listener = self.listener()
        engine = self.engine(listener.port)
        resource.prlimit(engine.pid, resource.RLIMIT_NOFILE, (limit, limit))
        bond = self.bond(engine, LINKS)
        caller = self.caller(bond, sent, megabits_per_second=2.0, latency_ms=4000)
        caller.wait_for(lambda line: line["event"] == "connected", "the caller is connected")
        # Arguments: port, kind, size, registrations per second, groups, seconds.
        subprocess.run([FLOOD, *map(str, (engine.port, "groups", 0, 200, 250, 3))], check=True, capture_output=True)
        engine.wait_for(lambda line: "zu viele offene Dateien" in line.get("line", ""), "a group gets no socket")
        self.assertLessEqual(len(list(pathlib.Path(f"/proc/{engine.pid}/fd").iterdir())), limit - limit // 4)
        self.assertEqual(listener.exit_code(), 0, listener.tail())
        self.assertEqual(caller.exit_code(), 0, caller.tail())
        self.assertEqual((self.folder / "received" / "stream").read_bytes(), sent.read_bytes())
        refused = [line for line in engine.log() if "zu viele offene Dateien" in line]
        self.assertEqual(len(refused), len(set(refused)))  # one line per group

    def test_invalid_datagrams(self):
        """Garbage, unknown groups and oversized datagrams are only counted."""
        listener = self.listener()
        engine = self.engine(listener.port)
        for kind, size in (("garbage", 100), ("reg2", 0), ("oversized", 2000), ("oversized", 60000)):
            with self.subTest(kind=kind, size=size):
                before = engine.statistics()[-1]["packets"] if engine.statistics() else 0
                subprocess.run([FLOOD, *map(str, (engine.port, kind, size, 200, 40, 1))], check=True,
                               capture_output=True)
                line = engine.wait_for(lambda line: line.get("packets", 0) > before + 100, "the datagrams are counted")
                self.assertEqual((line["groups"], line["paths"]), (0, 0))
        self.assertEqual(len(engine.log()), 1)  # the start


if __name__ == "__main__":
    main()
