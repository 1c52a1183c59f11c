# SPDX-License-Identifier: GPL-2.0-or-later
"""A program that reports its events as lines of JSON."""

import json
import os
import signal
import subprocess
import threading
import time

from timelimits import PROGRAM_TIMEOUT_S
from wait import TimedOut


class Ended(AssertionError):
    """The program ended before an expected event."""


class JsonProcess:
    """A program whose standard output is one JSON object per line. `objects` has the parsed objects, `lines` the texts,
    `times` the times of their arrival (time.monotonic)."""

    def __init__(self, arguments, *, stderr=None, stdin=subprocess.DEVNULL, environment=None):
        self.arguments = [str(word) for word in arguments]
        self.lines = []
        self.objects = []
        self.times = []
        self._changed = threading.Condition()
        self._at_end = False
        self._process = subprocess.Popen(self.arguments, stdin=stdin, stdout=subprocess.PIPE, stderr=stderr,
                                         env=environment, encoding="utf-8", process_group=0)
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    @property
    def pid(self) -> int:
        """The process id."""
        return self._process.pid

    def wait_for(self, condition, what, timeout_s=PROGRAM_TIMEOUT_S):
        """Waits until `condition` is true for one of the objects, including earlier ones, and returns that object."""
        deadline = time.monotonic() + timeout_s
        seen = 0
        with self._changed:
            while True:
                for position in range(seen, len(self.objects)):
                    if condition(self.objects[position]):
                        return self.objects[position]
                seen = len(self.objects)
                if self._at_end:
                    raise Ended(f"{self.arguments[0]} ended before: {what}\n{self.tail()}")
                if not self._changed.wait(max(0.0, deadline - time.monotonic())):
                    raise TimedOut(f"not within {timeout_s:g} s from {self.arguments[0]}: {what}\n{self.tail()}")

    def write(self, line: str):
        """Writes a line to its standard input, which must be a pipe."""
        self._process.stdin.write(line + "\n")
        self._process.stdin.flush()

    def running(self) -> bool:
        """Whether the process is running."""
        return self._process.poll() is None

    def send_signal(self, number):
        """Sends a signal to the process."""
        self._process.send_signal(number)

    def stop(self, number=signal.SIGINT) -> int:
        """Sends a signal and returns the exit code."""
        if self.running():
            self.send_signal(number)
        return self.exit_code()

    def exit_code(self, timeout_s=PROGRAM_TIMEOUT_S) -> int:
        """Waits for the end and returns the exit code."""
        try:
            code = self._process.wait(timeout_s)
        except subprocess.TimeoutExpired:
            raise TimedOut(f"not ended within {timeout_s:g} s: {self.arguments[0]}\n{self.tail()}") from None
        self._reader.join()
        self._process.stdout.close()
        if self._process.stdin:
            self._process.stdin.close()
        return code

    def kill(self):
        """Kills the process group, if it is running: under Wine, child processes keep the pipe open."""
        if self.running():
            os.killpg(self.pid, signal.SIGKILL)
        self.exit_code()

    def tail(self) -> str:
        """The last lines of the output, for messages."""
        return "".join(f"  {line}\n" for line in self.lines[-12:])

    def _read(self):
        for line in self._process.stdout:
            text = line.rstrip("\n")
            with self._changed:
                self.times.append(time.monotonic())
                self.lines.append(text)
                self.objects.append(json.loads(text))
                self._changed.notify_all()
        with self._changed:
            self._at_end = True
            self._changed.notify_all()
