# SPDX-License-Identifier: GPL-2.0-or-later
"""The programs of one run: a stream with time stamps from its sender through one relay to its reader."""

import contextlib
import pathlib
import struct
import subprocess
import time

import stream
from ports import free_udp_port, held_udp_ports
from timelimits import PROGRAM_TIMEOUT_S

from .figures import RECORD, Record

_POLL_S = 0.05
_RECORD_BYTES = struct.calcsize(RECORD)
# Part of the clock id of a process's CPU time, as in clock_getcpuclockid(3), which Python does not have.
_CPUCLOCK_SCHED = 2


class Run(contextlib.ExitStack):
    """The programs of one run, which are killed on exit. The relay runs on a separate core."""

    def __init__(self, folder: pathlib.Path, relay_core: int, latency_ms: int, megabits_per_second: float):
        super().__init__()
        self.latency_ms, self.megabits_per_second = latency_ms, megabits_per_second
        self.pinned = ["taskset", "--cpu-list", str(relay_core)]  # prefix of a relay's command
        self.relay_pid = 0
        self.relay_ports = []
        self.reader_port = 0
        self.sending_since_ns = 0
        self._folder = folder
        self._reader = None

    def keep(self, program):
        """Registers a stream.JsonProcess to be killed at the end."""
        self.callback(program.kill)
        return program

    def relay(self, arguments, ports):
        """Starts the relay, which listens on `ports`."""
        self.relay_pid, self.relay_ports = self.start([*self.pinned, *arguments], ports), ports

    def start(self, arguments, ports) -> int:
        """Starts a program and waits until its UDP ports are bound; returns the process id."""
        path = self._folder / f"{ports[0]}.log"
        log = self.enter_context(open(path, "wb"))
        process = subprocess.Popen(arguments, stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        self.callback(process.wait)
        self.callback(process.kill)

        def listens():
            if process.poll() is not None:
                raise stream.Ended(f"ended: {' '.join(arguments)}\n{path.read_text('utf-8')}")
            return held_udp_ports().issuperset(ports)
        _wait_until(listens, f"listening: {' '.join(arguments)}")
        return process.pid

    def read(self, transport: str, latency_ms: int = 0) -> int:
        """Starts the reader and returns its port."""
        self.reader_port = free_udp_port()
        self._reader = self.keep(stream.JsonProcess(
            ["stampedstream", "read", transport, self.reader_port, latency_ms, self._folder / "records"]))
        self._reader.wait_for(lambda line: line["event"] == "listening", "the reader listens")
        return self.reader_port

    def send(self, transport: str, port: int, latency_ms: int = 0):
        """Starts the sender."""
        sender = self.keep(stream.JsonProcess(
            ["stampedstream", "send", transport, port, latency_ms, self.megabits_per_second]))
        sender.wait_for(lambda line: line["event"] == "connected", "the sender is connected")
        self.sending_since_ns = time.monotonic_ns()

    def relay_cpu_ns(self) -> int:
        """User and kernel time of the relay."""
        return time.clock_gettime_ns(~self.relay_pid << 3 | _CPUCLOCK_SCHED)

    def records(self) -> list[Record]:
        """The received records."""
        data = (self._folder / "records").read_bytes()
        return [Record(*fields) for fields in struct.iter_unpack(RECORD, data[:len(data) // _RECORD_BYTES * _RECORD_BYTES])]

    def wait_for_payload_sent_at(self, moment_ns: int):
        """Waits until a payload sent at this time or later was received."""
        def has_arrived():
            if not self._reader.running():
                raise stream.Ended("the reader ended during the stream")
            return self._latest_sent_ns() >= moment_ns
        _wait_until(has_arrived, "the stream arrives")

    def _latest_sent_ns(self) -> int:
        with open(self._folder / "records", "rb") as file:
            complete = file.seek(0, 2) // _RECORD_BYTES
            if complete == 0:
                return 0
            file.seek((complete - 1) * _RECORD_BYTES)
            return Record(*struct.unpack(RECORD, file.read(_RECORD_BYTES))).sent_ns


def _wait_until(condition, what):
    deadline = time.monotonic() + PROGRAM_TIMEOUT_S
    while not condition():
        if time.monotonic() > deadline:
            raise stream.TimedOut(f"not within {PROGRAM_TIMEOUT_S:g} s: {what}")
        time.sleep(_POLL_S)
