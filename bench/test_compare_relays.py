# SPDX-License-Identifier: GPL-2.0-or-later
"""A short form of bench/compare-relays with the real programs, and the calculation of its figures."""

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
from timelimits import PROGRAM_TIMEOUT_S  # noqa: E402

BUILD = pathlib.Path(os.environ.get("TARVOLINE_BUILD", PROJECT / "build" / "linux"))
# Debian packages of the other relays.
PACKAGES = {"socat": "socat", "srt-live-transmit": "srt-tools", "ristreceiver": "rist-tools", "ristsender": "rist-tools"}
BONDED = {"socat": 1, "srt_live_transmit": 1, "ristreceiver": 3, "engine": 3}
SPREADS = {"cpuSecondsPerGigabyte", "hopMedianMs", "hop99PercentMs", "endToEndMedianMs", "endToEnd99PercentMs"}
ABOUT = {"megabitsPerSecond", "payloadBytes", "rounds", "secondsPerStretch", "relayCore", "otherCore", "realTimePriority",
         "packages", "loadBefore", "loadAfter", "rows"}
LATENCY_MS = 1000
# Forwards all datagrams except every tenth.
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
    """Runs the command."""
    environment = {**os.environ, "PYTHONPATH": f"{PROJECT / 'bench'}:{PROJECT / 'testkit'}"}
    if path is not None:
        environment["PATH"] = path
    return subprocess.run([sys.executable, "-B", "-m", "comparison", *map(str, arguments)], env=environment,
                          capture_output=True, encoding="utf-8", check=False)


def may_capture():
    """Whether packet capture is permitted."""
    try:
        socket.socket(socket.AF_PACKET, socket.SOCK_RAW, 0).close()
    except PermissionError:
        return False
    return True


@unittest.skipUnless(may_capture(), "packet capture is not permitted")
class ComparisonTest(unittest.TestCase):
    """With real programs."""

    def test_short_form(self):
        """Every relay delivers all payloads over all its paths; the JSON file is complete."""
        file = BUILD / "compare-relays.json"
        done = compare("--rounds", 1, "--seconds", 0.5, "--mbit", 2, "--latency", LATENCY_MS, "--json", file)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        result = json.loads(file.read_text(encoding="utf-8"))
        self.assertEqual(set(result), ABOUT)
        self.assertEqual({row["relay"]: row["paths"] for row in result["rows"]}, BONDED)
        for row in result["rows"]:
            with self.subTest(row["relay"]):
                self.assertEqual(set(row), SPREADS | {"relay", "name", "setting", "latencyMs", "paths", "sentPayloads",
                                                      "deliveredPayloads"})
                # Two measurements of 0.5 s with 190 payloads per second.
                self.assertGreater(row["sentPayloads"], 100)
                self.assertEqual(row["deliveredPayloads"], row["sentPayloads"])
                self.assertEqual(row["latencyMs"], LATENCY_MS)
                self.assertIn(f"{LATENCY_MS} ms", row["setting"])
                for key in SPREADS:
                    self.assertEqual(set(row[key]), {"median", "min", "max"})
                    self.assertGreater(row[key]["min"], 0, key)
                self.assertIn(f"| {row['name']} ", done.stdout)

    def test_a_relay_that_loses(self):
        """Losses are counted after the repetitions."""
        def start(run):
            port = free_udp_port()
            run.relay([sys.executable, "-c", LOSING_RELAY, str(port), str(run.read("udp"))], [port])
            run.send("udp", port)
        losing = relays.Relay("losing", "loses every tenth", {}, "", start)
        core = min(os.sched_getaffinity(0))
        found = measure.measured(losing, 0, measure.Conditions(BUILD / "tests" / "losing", core, 0.2, 4))
        self.assertGreater(found.sent, 50)
        self.assertAlmostEqual(found.delivered / found.sent, 0.9, delta=0.05)

    def test_a_failing_run(self):
        """A failing run is repeated; only a relay that always fails ends the comparison."""
        working = next(relay for relay in relays.RELAYS if relay.key == "socat")
        for broken_runs, works in ((2, True), (3, False)):
            with self.subTest(broken_runs):
                started = []

                def start(run):
                    started.append(run)
                    if len(started) <= broken_runs:
                        run.relay([sys.executable, "-c", "exit('broken on purpose')"], [1])
                    working.start(run)
                relay = relays.Relay("breaks", "fails", {}, "", start)
                conditions = measure.Conditions(BUILD / "tests" / "breaks", min(os.sched_getaffinity(0)), 0.2, 4)
                if works:
                    found = measure.measured(relay, LATENCY_MS, conditions)
                    self.assertGreater(found.delivered, 0)
                else:
                    with self.assertRaisesRegex(stream.Ended, "broken on purpose"):
                        measure.measured(relay, LATENCY_MS, conditions)
                self.assertEqual(len(started), 3)

    def test_delay_meter_behind_other_headers(self):
        """Datagrams are matched by their last bytes, and each path is counted."""
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
                deadline = time.monotonic() + PROGRAM_TIMEOUT_S
                delays, lost = [], 0
                while len(delays) < 2 and time.monotonic() < deadline:
                    more, lost = meter.take(begin, time.time_ns())
                    delays += more
                self.assertEqual((len(delays), lost), (2, 1))
                self.assertEqual(list(meter.paths().values()), [3])


class CommandTest(unittest.TestCase):
    """The command line."""

    def test_missing_programs(self):
        """Missing programs are listed with their packages."""
        done = compare(path=str(BUILD / "no-such-folder"))
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        for program, package in PACKAGES.items():
            self.assertIn(f"{program} (Debian package {package})", done.stderr)
        for program in ("enginehost", "bondsender"):
            self.assertIn(program, done.stderr)

    def test_more_than_srts_buffer(self):
        """A stream that exceeds libsrt's default buffer is rejected."""
        done = compare("--mbit", 100, "--latency", 20, 1000)
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        self.assertIn("receive buffer", done.stderr)


class FiguresTest(unittest.TestCase):
    """Calculation of the figures."""

    @staticmethod
    def read(*numbers):
        """Payload n is sent at n ms and received 5 ms later, every tenth 50 ms later."""
        return [figures.Record(number, number * 1_000_000, (number + (50 if number % 10 == 0 else 5)) * 1_000_000)
                for number in numbers]

    def test_whole(self):
        """The interval includes its begin and excludes its end."""
        found = figures.stretch(self.read(*range(100)), 20_000_000, 40_000_000)
        self.assertEqual((found.sent, found.delivered), (20, 20))
        self.assertEqual(found.delays_ms, [5.0] * 18 + [50.0] * 2)

    def test_losses_and_repetitions(self):
        """Every gap is a loss; duplicates count once."""
        found = figures.stretch(self.read(*range(20), 22, 24, 23, 24, *range(26, 39), 41), 20_000_000, 40_000_000)
        self.assertEqual((found.sent, found.delivered), (21, 16))

    def test_middle_and_high(self):
        """Median and 99th percentile."""
        self.assertEqual(figures.median_and_p99([1] * 60 + [2] * 39 + [3]), (1, 3))
        self.assertEqual(figures.median_and_p99(list(range(1000))), (500, 990))

    def test_cost(self):
        """Seconds per 10^9 bytes."""
        self.assertAlmostEqual(figures.cpu_s_per_gigabyte(13_160_000, 1000), 10.0)

    def test_spread(self):
        """Median, minimum and maximum."""
        self.assertEqual(figures.spread([3, 1, 8]), {"median": 3, "min": 1, "max": 8})


if __name__ == "__main__":
    unittest.main(verbosity=2)
