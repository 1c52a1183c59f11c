# SPDX-License-Identifier: GPL-2.0-or-later
"""A program that tells what it does in lines of JSON."""

import json
import os
import signal
import subprocess
import threading
import time

# Everything here takes a few seconds on an idle machine; a loaded one may take many times that.
PATIENCE_S = 120.0


class TimedOut(AssertionError):
    """Something awaited did not come; the text says what."""


class Ended(AssertionError):
    """The program ended while something was awaited from it."""


class JsonProcess:
    """A running program whose standard output is one JSON object a line; each is kept, in order, in `objects`, as it
    was written in `lines`, and when it was read, by the monotonic clock, in `times`."""

    def __init__(self, arguments, *, stderr=None):
        self.arguments = [str(word) for word in arguments]
        self.lines = []
        self.objects = []
        self.times = []
        self._news = threading.Condition()
        self._at_end = False
        self._process = subprocess.Popen(self.arguments, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                         stderr=stderr, encoding="utf-8", process_group=0)
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    @property
    def pid(self) -> int:
        """The process id."""
        return self._process.pid

    def wait_for(self, condition, what, timeout_s=PATIENCE_S):
        """Waits until `condition` returns something true for one of the objects, and returns that object; those already
        there count."""
        deadline = time.monotonic() + timeout_s
        seen = 0
        with self._news:
            while True:
                for position in range(seen, len(self.objects)):
                    if condition(self.objects[position]):
                        return self.objects[position]
                seen = len(self.objects)
                if self._at_end:
                    raise Ended(f"{self.arguments[0]} ended before: {what}\n{self.tail()}")
                if not self._news.wait(max(0.0, deadline - time.monotonic())):
                    raise TimedOut(f"not within {timeout_s:g} s from {self.arguments[0]}: {what}\n{self.tail()}")

    def running(self) -> bool:
        """Whether it still runs."""
        return self._process.poll() is None

    def send_signal(self, number):
        """Sends it a signal."""
        self._process.send_signal(number)

    def stop(self, number=signal.SIGINT) -> int:
        """Asks it to end and returns its exit code."""
        if self.running():
            self.send_signal(number)
        return self.exit_code()

    def exit_code(self, timeout_s=PATIENCE_S) -> int:
        """Waits for its end."""
        try:
            code = self._process.wait(timeout_s)
        except subprocess.TimeoutExpired:
            raise TimedOut(f"not ended within {timeout_s:g} s: {self.arguments[0]}\n{self.tail()}") from None
        self._reader.join()
        self._process.stdout.close()
        return code

    def kill(self):
        """Ends it at once, if it still runs, with what it has started: under Wine that holds our end of the pipe."""
        if self.running():
            os.killpg(self.pid, signal.SIGKILL)
        self.exit_code()

    def tail(self) -> str:
        """The end of its output, for messages."""
        return "".join(f"  {line}\n" for line in self.lines[-12:])

    def _read(self):
        for line in self._process.stdout:
            text = line.rstrip("\n")
            with self._news:
                self.times.append(time.monotonic())
                self.lines.append(text)
                self.objects.append(json.loads(text))
                self._news.notify_all()
        with self._news:
            self._at_end = True
            self._news.notify_all()
