# SPDX-License-Identifier: GPL-2.0-or-later
"""The comparison of the receiver with other relays: a short form of bench/compare-relays with the real programs, and what its
figures are made of."""

import json
import os
import pathlib
import socket
import subprocess
import sys
import time
import unittest

PROJECT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(PROJECT / "testkit"))

import stream  # noqa: E402
from comparison import figures, measure, relays  # noqa: E402
from delaymeter import DelayMeter  # noqa: E402
from ports import free_udp_port  # noqa: E402

BUILD = pathlib.Path(os.environ.get("TARVOLINE_BUILD", PROJECT / "build" / "linux"))
# Debian has these; the rest are the project's.
PACKAGES = {"socat": "socat", "srt-live-transmit": "srt-tools", "ristreceiver": "rist-tools", "ristsender": "rist-tools"}
BONDED = {"socat": 1, "srt_live_transmit": 1, "ristreceiver": 3, "engine": 3}
SPREADS = {"cpuSecondsPerGigabyte", "hopMedianMs", "hop99PercentMs", "endToEndMedianMs", "endToEnd99PercentMs"}
ABOUT = {"megabitsPerSecond", "payloadBytes", "rounds", "secondsPerStretch", "relayCore", "otherCore", "realTimePriority",
         "packages", "loadBefore", "loadAfter", "rows"}
LATENCY_MS = 1000
# Passes a datagram on as it is, but for every tenth.
LOSING_RELAY = """
import socket, sys
here, there = socket.socket(type=socket.SOCK_DGRAM), ("127.0.0.1", int(sys.argv[2]))
here.bind(("127.0.0.1", int(sys.argv[1])))
number = 0
while True:
    datagram = here.recv(2048)
    number += 1
    if number % 10:
        here.sendto(datagram, there)
"""


def compare(*arguments, path=None):
    """Runs the command to its end."""
    environment = {**os.environ, "PYTHONPATH": f"{PROJECT / 'bench'}:{PROJECT / 'testkit'}"}
    if path is not None:
        environment["PATH"] = path
    return subprocess.run([sys.executable, "-B", "-m", "comparison", *map(str, arguments)], env=environment,
                          capture_output=True, encoding="utf-8", check=False)


def may_capture():
    """Whether this system lets the test watch its network."""
    try:
        socket.socket(socket.AF_PACKET, socket.SOCK_RAW, 0).close()
    except PermissionError:
        return False
    return True


@unittest.skipUnless(may_capture(), "this system lets nobody capture datagrams")
class ComparisonTest(unittest.TestCase):
    """With real programs."""

    def test_short_form(self):
        """Every relay delivers all it is sent, over as many ways as it can, and the file tells all there is to tell."""
        file = BUILD / "compare-relays.json"
        done = compare("--rounds", 1, "--seconds", 0.5, "--mbit", 2, "--latency", LATENCY_MS, "--json", file)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        told = json.loads(file.read_text(encoding="utf-8"))
        self.assertEqual(set(told), ABOUT)
        self.assertEqual({row["relay"]: row["ways"] for row in told["rows"]}, BONDED)
        for row in told["rows"]:
            with self.subTest(row["relay"]):
                self.assertEqual(set(row), SPREADS | {"relay", "name", "setting", "latencyMs", "ways", "sentPayloads",
                                                      "deliveredPayloads"})
                # Twice half a second of 190 payloads, on whatever machine.
                self.assertGreater(row["sentPayloads"], 100)
                self.assertEqual(row["deliveredPayloads"], row["sentPayloads"])
                self.assertEqual(row["latencyMs"], LATENCY_MS)
                self.assertIn(f"{LATENCY_MS} ms", row["setting"])
                for key in SPREADS:
                    self.assertEqual(set(row[key]), {"median", "min", "max"})
                    self.assertGreater(row[key]["min"], 0, key)
                self.assertIn(f"| {row['name']} ", done.stdout)

    def test_a_relay_that_loses(self):
        """What does not come through is counted, after further attempts."""
        def start(turn):
            port = free_udp_port()
            turn.relay([sys.executable, "-c", LOSING_RELAY, str(port), str(turn.read("udp"))], [port])
            turn.send("udp", port)
        losing = relays.Relay("losing", "loses every tenth", {}, "", start)
        core = min(os.sched_getaffinity(0))
        found = measure.measured(losing, 0, measure.Conditions(BUILD / "tests" / "losing", core, 0.2, 4))
        self.assertGreater(found.sent, 50)
        self.assertAlmostEqual(found.delivered / found.sent, 0.9, delta=0.05)

    def test_a_turn_that_breaks_off(self):
        """It is made again, and only a relay that never works ends the comparison."""
        working = next(relay for relay in relays.RELAYS if relay.key == "socat")
        for broken_turns, works in ((2, True), (3, False)):
            with self.subTest(broken_turns):
                begun = []

                def start(turn):
                    begun.append(turn)
                    if len(begun) <= broken_turns:
                        turn.relay([sys.executable, "-c", "exit('broken on purpose')"], [1])
                    working.start(turn)
                relay = relays.Relay("breaks", "breaks off", {}, "", start)
                conditions = measure.Conditions(BUILD / "tests" / "breaks", min(os.sched_getaffinity(0)), 0.2, 4)
                if works:
                    found = measure.measured(relay, LATENCY_MS, conditions)
                    self.assertGreater(found.delivered, 0)
                else:
                    with self.assertRaisesRegex(stream.Ended, "broken on purpose"):
                        measure.measured(relay, LATENCY_MS, conditions)
                self.assertEqual(len(begun), 3)

    def test_delay_meter_behind_other_headers(self):
        """Datagrams are paired by the end that is compared, and each way counts."""
        begin = time.time_ns()
        with socket.socket(type=socket.SOCK_DGRAM) as first, socket.socket(type=socket.SOCK_DGRAM) as second, \
                socket.socket(type=socket.SOCK_DGRAM) as sender:
            first.bind(("127.0.0.1", 0))
            second.bind(("127.0.0.1", 0))
            with DelayMeter([first.getsockname()[1]], second.getsockname()[1], shortest=6, equal_bytes=4) as meter:
                for datagram in (b"inLONE", b"inPAIR"):
                    sender.sendto(datagram, first.getsockname())
                for datagram in (b"outPAIR", b"outELSE", b"PAIR"):
                    sender.sendto(datagram, second.getsockname())
                sender.sendto(b"inLAST", first.getsockname())
                sender.sendto(b"outLAST", second.getsockname())
                deadline = time.monotonic() + stream.PATIENCE_S
                delays, lost = [], 0
                while len(delays) < 2 and time.monotonic() < deadline:
                    more, lost = meter.take(begin, time.time_ns())
                    delays += more
                self.assertEqual((len(delays), lost), (2, 1))
                self.assertEqual(list(meter.ways().values()), [3])


class CommandTest(unittest.TestCase):
    """What it refuses."""

    def test_missing_programs(self):
        """Each is named, with the package that has it."""
        done = compare(path=str(BUILD / "no-such-folder"))
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        for program, package in PACKAGES.items():
            self.assertIn(f"{program} (Debian package {package})", done.stderr)
        for program in ("enginehost", "bondsender"):
            self.assertIn(program, done.stderr)

    def test_more_than_srt_holds(self):
        """A stream that libsrt's default buffer could not hold would measure that buffer."""
        done = compare("--mbit", 100, "--latency", 20, 1000)
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        self.assertIn("receive buffer", done.stderr)


class FiguresTest(unittest.TestCase):
    """What is made of what was read."""

    @staticmethod
    def read(*numbers):
        """Payload n is sent at n milliseconds and read 5 ms later, but for every tenth, which takes 50."""
        return [figures.Record(number, number * 1_000_000, (number + (50 if number % 10 == 0 else 5)) * 1_000_000)
                for number in numbers]

    def test_whole(self):
        """Only what was sent in the stretch counts, its first moment and not its last."""
        found = figures.stretch(self.read(*range(100)), 20_000_000, 40_000_000)
        self.assertEqual((found.sent, found.delivered), (20, 20))
        self.assertEqual(found.delays_ms, [5.0] * 18 + [50.0] * 2)

    def test_losses_and_repetitions(self):
        """A gap is a loss, wherever it is; twice the same is one."""
        found = figures.stretch(self.read(*range(20), 22, 24, 23, 24, *range(26, 39), 41), 20_000_000, 40_000_000)
        self.assertEqual((found.sent, found.delivered), (21, 16))

    def test_middle_and_high(self):
        """One in a hundred is beyond the 99th percentile."""
        self.assertEqual(figures.middle_and_high([1] * 60 + [2] * 39 + [3]), (1, 3))
        self.assertEqual(figures.middle_and_high(list(range(1000))), (500, 990))

    def test_cost(self):
        """Seconds for 10^9 bytes."""
        self.assertAlmostEqual(figures.cpu_s_per_gigabyte(13_160_000, 1000), 10.0)

    def test_spread(self):
        """Of rounds."""
        self.assertEqual(figures.spread([3, 1, 8]), {"median": 3, "min": 1, "max": 8})


if __name__ == "__main__":
    unittest.main(verbosity=2)
