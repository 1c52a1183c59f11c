# SPDX-License-Identifier: GPL-2.0-or-later
"""The Windows module in OBS's own Windows libraries, under Wine. Controls the program obshost (testkit/obshost) through its
standard input. Requires an X display and the Windows build root."""

import os
import pathlib
import subprocess

from stream import JsonProcess
from teststream import Picture
from timelimits import PICTURE_TIMEOUT_S
from wait import wait_until

SOURCE = "Tarvoline SRTLA"
REPAIR = "Quelle reparieren"
UNLOADED = "[Tarvoline SRTLA] Plugin sicher entladen"

_PROJECT = pathlib.Path(__file__).resolve().parents[1]
BUILD = pathlib.Path(os.environ.get("TARVOLINE_BUILD", _PROJECT / "build" / "windows-x64-clang"))

_POLL_INTERVAL_S = 0.1


class WindowsObs(JsonProcess):
    """A running obshost with the module loaded. Its files are in `folder`; with a `canvas` (width, height) it renders the
    scene; `environment` selects the Wine prefix. Methods wait for the response unless stated otherwise."""

    def __init__(self, folder: pathlib.Path, *, canvas=None, environment=None):
        self.folder = folder
        sdk = pathlib.Path(os.environ["TARVOLINE_WINDOWS_SDK"])
        plugin = BUILD / "plugins" / "tarvoline-srtla"
        arguments = [sdk, plugin / "bin" / "64bit" / "tarvoline-srtla.dll", plugin / "data"]
        with open(folder / "wine.log", "ab") as log:
            super().__init__([_PROJECT / "tools" / "wine" / "winerun", BUILD / "bin" / "obshost.exe",
                              *map(windows_path, arguments), *([f"{canvas[0]}x{canvas[1]}"] if canvas else [])],
                             stderr=log, stdin=subprocess.PIPE, environment=environment)
        self.wait_for(lambda line: line["event"] == "ready", "the module is loaded")

    def events(self, name: str) -> list[dict]:
        """All events of a name so far."""
        return [line for line in list(self.objects) if line["event"] == name]

    def state(self) -> dict:
        """The visible state; its members are in dockstate.h of obshost."""
        return self._ask("state", "state")

    def status(self) -> str:
        """The text after "Status:"."""
        labels = self.state()["labels"]
        return labels[labels.index("Status:") + 1]

    def wait_for_status(self, text: str):
        """Waits for the status `text`."""
        wait_until(lambda: self.status() == text, lambda: f'status "{text}", it is "{self.status()}"')

    def press(self, name: str):
        """Presses a button of the dock as soon as it is enabled; does not wait for the effect."""
        wait_until(lambda: self._ask(f"press {name}", "pressed")["found"], f'"{name}" is enabled')

    def repair(self, line: str):
        """Presses "Quelle reparieren" and waits for `line` in the dock's log."""
        before = len(self.dock_log())
        self.press(REPAIR)
        wait_until(lambda: line in self.dock_log()[before:], f"{line!r} in the dock's log")

    def message_box(self) -> dict:
        """Waits for a message box; returns its title and text."""
        return wait_until(lambda: self.state().get("box"), "a message box")

    def answer(self):
        """Presses the default button of the open message box, and waits until it is closed."""
        self._ask("answer", "pressed")
        wait_until(lambda: "box" not in self.state(), "the message box is closed")

    def remove_source(self) -> bool:
        """Deletes the media source from the scene; false without one."""
        return self._ask(f"remove {SOURCE}", "removed")["found"]

    def save_dock(self, file: pathlib.Path) -> bool:
        """Saves a picture of the dock with all groups open."""
        return self._ask(f"savedock {windows_path(file)}", "saved")["ok"]

    def save_frame(self, file: pathlib.Path) -> bool:
        """Saves the latest rendered frame; false if there is none."""
        return self._ask(f"saveframe {windows_path(file)}", "saved")["ok"]

    def picture(self) -> Picture | None:
        """The latest rendered frame."""
        file = self.folder / "frame.ppm"
        return Picture.from_ppm(file.read_bytes()) if self.save_frame(file) else None

    def shows_pattern(self) -> bool:
        """Whether the latest frame is the test picture."""
        picture = self.picture()
        return picture is not None and picture.shows_pattern()

    def wait_for_picture(self, timeout_s=PICTURE_TIMEOUT_S):
        """Waits until the test picture is rendered and blinks."""
        seen = set()

        def moves():
            picture = self.picture()
            if picture is None or not picture.shows_pattern():
                seen.clear()
                return False
            seen.add(picture.blink())
            return len(seen) == 2

        wait_until(moves, lambda: f"a running picture; the source: {self.state().get('source')}", timeout_s, _POLL_INTERVAL_S)

    def wait_for_no_picture(self):
        """Waits until the test picture disappears from the rendered frames."""
        wait_until(lambda: not self.shows_pattern(), "the picture ends", PICTURE_TIMEOUT_S, _POLL_INTERVAL_S)

    def dock_log(self) -> list[str]:
        """All lines that were appended to the dock's log."""
        return [line["line"] for line in self.events("dockLog")]

    def wait_for_dock_log(self, text: str):
        """Waits until a line of the dock's log contains `text`."""
        self.wait_for(lambda line: line["event"] == "dockLog" and text in line["line"], f"{text!r} in the dock's log")

    def obs_log(self) -> list[str]:
        """The lines of OBS's log so far."""
        return [line["line"] for line in self.events("obsLog")]

    def quit(self) -> int:
        """Quits OBS and returns the exit code."""
        self.write("quit")
        return self.exit_code()

    def _ask(self, command, answer) -> dict:
        earlier = len(self.events(answer))
        answers = []

        def is_new(line):
            if line["event"] == answer:
                answers.append(line)
            return len(answers) > earlier

        self.write(command)
        return self.wait_for(is_new, f"the answer to {command!r}")


def windows_path(path: pathlib.Path) -> str:
    """The path of a file for programs under Wine."""
    return "Z:" + str(path).replace("/", "\\")
