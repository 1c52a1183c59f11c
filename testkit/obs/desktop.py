# SPDX-License-Identifier: GPL-2.0-or-later
"""The desktop that the programs under test run on: a virtual X server and a separate session bus, so that neither the
user's display nor the user's accessibility bus is used."""

import os
import pathlib
import shutil
import subprocess
import tempfile

_SCREEN = "1600x1000x24"


class Desktop:
    """An X display and a session bus with accessibility. Use as a context manager, or `close` it."""

    def __init__(self, folder: pathlib.Path, display: str | None = None):
        """Starts a virtual display unless an existing `display` is given."""
        self.folder = folder
        folder.mkdir(parents=True, exist_ok=True)
        # For sockets, whose paths are limited to 107 bytes (unix(7)).
        self.runtime = pathlib.Path(tempfile.mkdtemp(prefix="obs-desktop-"))
        self._processes = []
        self.display = display or self._start_display()
        self.bus_address = self._start_bus()

    def environment(self) -> dict:
        """The environment variables of a program on this desktop."""
        return {
            "DISPLAY": self.display,
            "DBUS_SESSION_BUS_ADDRESS": self.bus_address,
            "XDG_RUNTIME_DIR": str(self.runtime),
            # Services started by the bus must not write into the user's home.
            "HOME": str(self.folder),
        } | {name: os.environ[name] for name in ("XAUTHORITY",) if name in os.environ}

    def close(self):
        """Ends the X server and the bus."""
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
        # Qt connects to the accessibility bus at its start only, so the bus must be running before.
        subprocess.run(
            ["dbus-send", "--session", "--print-reply", "--dest=org.a11y.Bus", "/org/a11y/bus",
             "org.a11y.Bus.GetAddress"],
            env=environment | {"DBUS_SESSION_BUS_ADDRESS": address}, check=True, stdout=subprocess.DEVNULL)
        return address
