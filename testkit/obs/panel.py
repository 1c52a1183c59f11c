# SPDX-License-Identifier: GPL-2.0-or-later
"""The plug-in's dock in OBS's window, read and driven as a user does."""

import subprocess

from .screen import Element, Screen
from .wait import PATIENCE_S, TimedOut, wait_until

TITLE = "Tarvoline SRTLA Receiver"

# The names of the settings' edits for assistive technology.
_EDITS = {"listenPort": "Ports: SRTLA", "targetPort": "Ports: OBS", "publicHost": "IP / Domain", "streamId": "Stream-ID",
          "passphrase": "Passwort"}

# How long OBS may take over a click before it is made again.
_CLICK_PATIENCE_S = 10.0


class Panel:
    """The dock of one OBS process."""

    def __init__(self, screen: Screen):
        self.screen = screen

    def dock(self) -> Element | None:
        """The dock while it is on the screen, in the main window or floating."""
        main = self.screen.main_window()
        for candidate in [*self.screen.windows(), *main.children()]:
            if candidate.name == TITLE and candidate.has_state("showing"):
                return candidate
        return None

    def open(self) -> "Panel":
        """Opens the dock from the Docks menu, if it is not open."""
        if self.dock() is None:
            self.screen.menu_entry("Docks", TITLE).press()
        wait_until(self.dock, "the dock is on the screen")
        return self

    def group(self, title: str) -> Element:
        """One of the dock's group boxes."""
        return self.dock().find(name=title)

    def status(self) -> str:
        """The text behind "Status:"."""
        texts = [label.name for label in self.group("Receiver-Status").find_all("label")]
        return texts[texts.index("Status:") + 1]

    def wait_for_status(self, text: str, timeout_s=PATIENCE_S):
        """Waits until the status says `text`."""
        wait_until(lambda: self.status() == text, lambda: f'status "{text}", it is "{self.status()}"', timeout_s)

    def edits(self) -> dict:
        """The edits of the settings by their names."""
        found = {e.name: e for e in self.group("Einstellungen").walk() if e.role in ("text", "password text")}
        return {edit: found[name] for edit, name in _EDITS.items()}

    def values(self) -> dict:
        """What stands in the edits; a masked passphrase reads as its mask."""
        return {name: edit.text for name, edit in self.edits().items()}

    def checks(self) -> dict:
        """Which of the settings' boxes are checked, by their words."""
        return {box.name: box.has_state("checked") for box in self.group("Einstellungen").find_all("check box")}

    def button(self, words: str) -> Element:
        """The button with these words."""
        return self.dock().find("button", words)

    def press(self, words: str):
        """Presses the button with these words, once it can be pressed."""
        wait_until(lambda: self.button(words).has_state("enabled"), f'"{words}" can be pressed')
        self.button(words).press()

    def type(self, edit: str, text: str):
        """Replaces what stands in an edit, with mouse and keyboard, presses Return and leaves the edit."""
        self.type_and_stay(edit, text)
        self.press_keys("Return", "Tab")
        wait_until(lambda: not self.edits()[edit].has_state("focused"), f"{edit} is left")

    def type_and_stay(self, edit: str, text: str):
        """Replaces what stands in an edit, with mouse and keyboard, and waits until OBS has taken all of it: the keys travel
        another way than the questions that follow."""
        self.enter(self.edits()[edit].name)
        self.press_keys("ctrl+a", "Delete")
        if text:
            self._do("type", "--clearmodifiers", text)
        wait_until(lambda: self._shows(self.edits()[edit], text),
                   lambda: f"{edit} shows what was typed: {self.values()}")

    def enter(self, name: str):
        """Clicks on the control of this name until it has the keyboard."""
        wait_until(lambda: self._click_into(name), f"{name} has the keyboard")

    def press_keys(self, *keys: str):
        """Presses keys one after the other, in the words of xdotool."""
        self._do("key", "--clearmodifiers", *keys)

    def tab_from(self, name: str, *, to: str | None = None, steps: int = 40) -> list:
        """Goes on from an edit with the Tab key, until a control is reached or so many keys are pressed. Returns the names
        of the controls that had the keyboard."""
        self.enter(name)
        passed = [name]
        while passed[-1] != to and len(passed) <= steps:
            before = self._focused_kind()
            self.press_keys("Tab")
            wait_until(lambda: self._focused_kind() not in (None, before), f"the keyboard leaves {passed[-1]}")
            passed.append(self.focused())
        return passed

    def focused(self) -> str | None:
        """The name of the dock's control with the keyboard, if one has it."""
        element = self._focused()
        return element and element.name

    def _focused(self):
        return next((e for e in self.dock().walk() if e.has_state("focused")), None)

    def _focused_kind(self):
        # The log and its group have the same name.
        element = self._focused()
        return element and (element.role, element.name)

    def opened(self, title: str) -> Element:
        """A collapsible group, opened."""
        group = self.group(title)
        if not group.has_state("checked"):
            group.press()
            wait_until(lambda: self.group(title).has_state("checked"), f'"{title}" opens')
        return self.group(title)

    def log(self) -> list:
        """The lines of the dock's log."""
        return self.opened("Protokoll").find("text").text.split("\n")

    def wait_for_log(self, line: str, timeout_s=PATIENCE_S):
        """Waits until one line of the dock's log holds `line`."""
        wait_until(lambda: any(line in entry for entry in self.log()),
                   lambda: f"{line!r} in the dock's log: {self.log()}", timeout_s)

    def _click_into(self, name):
        """Clicks on a control; false when that does not give it the keyboard: the panel may have moved meanwhile."""
        x, y, width, height = self.dock().find(name=name).box
        # Nobody manages the windows of this display, so the one under the mouse has to be given the keyboard.
        self._do("mousemove", x + width // 2, y + height // 2, "click", 1)
        window = subprocess.run(["xdotool", "getmouselocation", "--shell"], env=self._environment(), check=True,
                                capture_output=True, text=True).stdout
        self._do("windowfocus", "--sync", dict(line.split("=") for line in window.split())["WINDOW"])
        try:
            return wait_until(lambda: self.focused() == name, f"{name} is entered", _CLICK_PATIENCE_S)
        except TimedOut:
            return False

    @staticmethod
    def _shows(edit, text):
        # A masked passphrase tells no more than its length.
        return len(edit.text) == len(text) if edit.role == "password text" else edit.text == text

    def _do(self, *arguments):
        subprocess.run(["xdotool", *map(str, arguments)], env=self._environment(), check=True)

    def _environment(self) -> dict:
        return {"DISPLAY": self.screen.desk.display, "PATH": "/usr/bin:/bin"}
