# SPDX-License-Identifier: GPL-2.0-or-later
"""One run of the real OBS on a virtual desktop."""

import os
import signal
import subprocess
import time

from ports import free_tcp_port
from timelimits import OBS_TIMEOUT_S
from wait import TimedOut, wait_until

from .desktop import Desktop
from .home import ObsHome
from .remote import Remote
from .screen import Screen

_ARGUMENTS = ["--disable-updater", "--verbose"]

# Several instances on one machine, without a dialog.
_SIDE_BY_SIDE = ["--multi"]


class ObsSession:
    """An OBS process: log, windows (`screen`) and obs-websocket (`remote`)."""

    def __init__(self, desktop: Desktop, home: ObsHome, *, arguments=(), environment=None):
        self.desktop = desktop
        self.home = home
        self._arguments = list(arguments)
        self._environment = environment or {}
        self._process = None
        self.remote = None
        self.screen = None

    @property
    def pid(self) -> int:
        """OBS's process id."""
        return self._process.pid

    def start(self, alone=False):
        """Starts OBS and waits for its main window and for obs-websocket. `alone`: without the option for several
        instances."""
        self.launch(alone)
        self.remote = wait_until(self._try_remote, "obs-websocket accepts a connection")
        self.screen.main_window()
        return self

    def launch(self, alone=False):
        """Starts OBS without waiting."""
        self._port = free_tcp_port()
        self.home.create(self._port)
        arguments = _ARGUMENTS + ([] if alone else _SIDE_BY_SIDE)
        environment = {name: os.environ[name] for name in ("PATH", "LANG") if name in os.environ}
        environment |= self.desktop.environment() | {
            "HOME": str(self.home.folder),
            "QT_QPA_PLATFORM": "xcb",
            "LIBGL_ALWAYS_SOFTWARE": "1",
            "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",
        } | self._environment
        # Logs of earlier sessions are excluded.
        self._logs_before = set((self.home.config / "logs").glob("*.txt"))
        with open(self.home.folder / "console.log", "ab") as console:
            self._process = subprocess.Popen(
                ["obs", *arguments, *self._arguments], env=environment, cwd=self.home.folder,
                stdin=subprocess.DEVNULL, stdout=console, stderr=console)
        self.screen = Screen(self.desktop, self._process.pid)
        return self

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.kill()

    def running(self) -> bool:
        """Whether the process is running."""
        return self._process is not None and self._process.poll() is None

    def log(self) -> str:
        """The content of OBS's log file."""
        fresh = set((self.home.config / "logs").glob("*.txt")) - self._logs_before
        return "".join(path.read_text(errors="replace") for path in sorted(fresh))

    def wait_for_log(self, text: str, timeout_s=OBS_TIMEOUT_S):
        """Waits until the log contains `text`."""
        wait_until(lambda: text in self.log(), f"the OBS log contains {text!r}", timeout_s)

    def quit(self, timeout_s=OBS_TIMEOUT_S) -> float:
        """Ends OBS with File > Exit and returns the time in seconds. Kills it and raises TimedOut when it hangs."""
        self._close_remote()
        return self._wait_for_end(self.screen.exit(), timeout_s)

    def close_window(self, timeout_s=OBS_TIMEOUT_S) -> float:
        """Ends OBS by closing its main window; returns the time in seconds."""
        self._close_remote()
        requested = time.monotonic()
        self.screen.close_main_window()
        return self._wait_for_end(requested, timeout_s)

    def interrupt(self, timeout_s=OBS_TIMEOUT_S) -> float:
        """Ends OBS with SIGINT, as at the end of a desktop session; returns the time in seconds."""
        self._close_remote()
        requested = time.monotonic()
        self._process.send_signal(signal.SIGINT)
        return self._wait_for_end(requested, timeout_s)

    def wait(self):
        """Waits for the end of OBS."""
        self._process.wait()

    def kill(self):
        """Kills OBS if it is running."""
        self._close_remote()
        if self.running():
            self._process.kill()
            self._process.wait()

    def exit_code(self) -> int | None:
        """The exit code; None while it runs."""
        return self._process.poll()

    def _wait_for_end(self, requested, timeout_s) -> float:
        try:
            self._process.wait(timeout_s)
        except subprocess.TimeoutExpired:
            self.kill()
            raise TimedOut(f"OBS did not end within {timeout_s:g} s; the end of its log:\n{self.log()[-2000:]}") from None
        return time.monotonic() - requested

    def _try_remote(self):
        if not self.running():
            raise RuntimeError(f"OBS ended with {self._process.returncode}:\n{self._console_end()}")
        try:
            remote = Remote(self._port)
        except (OSError, ValueError):
            return None
        return remote

    def _close_remote(self):
        if self.remote is not None:
            self.remote.close()
            self.remote = None

    def _console_end(self) -> str:
        return (self.home.folder / "console.log").read_text(errors="replace")[-3000:]
