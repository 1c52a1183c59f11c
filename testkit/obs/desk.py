# SPDX-License-Identifier: GPL-2.0-or-later
"""The desktop that the programs under test run on: an X server without a screen and a session bus of its own, so that
neither the user's display nor the user's accessibility bus is touched."""

import os
import pathlib
import shutil
import subprocess
import tempfile

_SCREEN = "1600x1000x24"


class Desk:
    """An X display and a session bus with accessibility. Use as a context manager, or `close` it."""

    def __init__(self, folder: pathlib.Path, display: str | None = None):
        """Makes a virtual display, unless it is to stand on an existing `display`."""
        self.folder = folder
        folder.mkdir(parents=True, exist_ok=True)
        # Sockets go here, and the system allows their paths little more than a hundred bytes.
        self.runtime = pathlib.Path(tempfile.mkdtemp(prefix="obs-desk-"))
        self._processes = []
        self.display = display or self._start_display()
        self.bus_address = self._start_bus()

    def environment(self) -> dict:
        """The variables that bring a program onto this desk."""
        return {
            "DISPLAY": self.display,
            "DBUS_SESSION_BUS_ADDRESS": self.bus_address,
            "XDG_RUNTIME_DIR": str(self.runtime),
            # The bus's own helpers must not write into the user's home.
            "HOME": str(self.folder),
        } | {name: os.environ[name] for name in ("XAUTHORITY",) if name in os.environ}

    def close(self):
        """Ends the desk; every program on it loses its display."""
        for process in reversed(self._processes):
            process.terminate()
        for process in reversed(self._processes):
            process.wait()
        self._processes.clear()
        shutil.rmtree(self.runtime, ignore_errors=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def _start_display(self) -> str:
        reading, writing = os.pipe()
        with open(self.folder / "xvfb.log", "wb") as log:
            self._processes.append(subprocess.Popen(
                ["Xvfb", "-displayfd", str(writing), "-screen", "0", _SCREEN, "+extension", "GLX", "-nolisten", "tcp",
                 "-noreset"],
                pass_fds=[writing], stdin=subprocess.DEVNULL, stdout=log, stderr=log))
        os.close(writing)
        with os.fdopen(reading) as announced:
            number = announced.readline().strip()
        if not number:
            raise RuntimeError(f"Xvfb did not start: {(self.folder / 'xvfb.log').read_text()}")
        return f":{number}"

    def _start_bus(self) -> str:
        environment = os.environ | {
            "DISPLAY": self.display, "XDG_RUNTIME_DIR": str(self.runtime), "HOME": str(self.folder)}
        with open(self.folder / "bus.log", "wb") as log:
            bus = subprocess.Popen(
                ["dbus-daemon", "--session", "--nofork", "--print-address"],
                env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=log, text=True)
        self._processes.append(bus)
        address = bus.stdout.readline().strip()
        if not address:
            raise RuntimeError(f"dbus-daemon did not start: {(self.folder / 'bus.log').read_text()}")
        # Qt looks for the accessibility bus once, at its start, and does not wait for one that comes up later.
        subprocess.run(
            ["dbus-send", "--session", "--print-reply", "--dest=org.a11y.Bus", "/org/a11y/bus",
             "org.a11y.Bus.GetAddress"],
            env=environment | {"DBUS_SESSION_BUS_ADDRESS": address}, check=True, stdout=subprocess.DEVNULL)
        return address
