# SPDX-License-Identifier: GPL-2.0-or-later
"""The plug-in's dock in OBS's window, read through the accessibility bus and operated with mouse and keyboard."""

import subprocess

from timelimits import OBS_TIMEOUT_S
from wait import TimedOut, wait_until

from .screen import Element, Screen

TITLE = "Tarvoline SRTLA Receiver"

# The accessible names of the settings' edits.
_EDITS = {"listenPort": "Ports: SRTLA", "targetPort": "Ports: OBS", "publicHost": "IP / Domain", "streamId": "Stream-ID",
          "passphrase": "Passwort"}

# A click without effect is repeated after this time.
_CLICK_TIMEOUT_S = 10.0


class Panel:
    """The dock of one OBS process."""

    def __init__(self, screen: Screen):
        self.screen = screen

    def dock(self) -> Element | None:
        """The dock if it is visible, in the main window or floating."""
        main = self.screen.main_window()
        for candidate in [*self.screen.windows(), *main.children()]:
            if candidate.name == TITLE and candidate.has_state("showing"):
                return candidate
        return None

    def open(self) -> "Panel":
        """Opens the dock from the Docks menu, if it is not open."""
        if self.dock() is None:
            self.screen.menu_entry("Docks", TITLE).press()
        wait_until(self.dock, "the dock is visible")
        return self

    def group(self, title: str) -> Element:
        """One of the dock's group boxes."""
        return self.dock().find(name=title)

    def status(self) -> str:
        """The text after "Status:"."""
        texts = [label.name for label in self.group("Receiver-Status").find_all("label")]
        return texts[texts.index("Status:") + 1]

    def wait_for_status(self, text: str, timeout_s=OBS_TIMEOUT_S):
        """Waits for the status `text`."""
        wait_until(lambda: self.status() == text, lambda: f'status "{text}", it is "{self.status()}"', timeout_s)

    def edits(self) -> dict:
        """The edits of the settings by their names."""
        found = {e.name: e for e in self.group("Einstellungen").walk() if e.role in ("text", "password text")}
        return {edit: found[name] for edit, name in _EDITS.items()}

    def values(self) -> dict:
        """The texts of the edits; a masked passphrase is returned masked."""
        return {name: edit.text for name, edit in self.edits().items()}

    def checks(self) -> dict:
        """The states of the settings' check boxes by their texts."""
        return {box.name: box.has_state("checked") for box in self.group("Einstellungen").find_all("check box")}

    def button(self, words: str) -> Element:
        """The button with the text `words`."""
        return self.dock().find("button", words)

    def press(self, words: str):
        """Presses the button with the text `words` as soon as it is enabled."""
        wait_until(lambda: self.button(words).has_state("enabled"), f'"{words}" is enabled')
        self.button(words).press()

    def type(self, edit: str, text: str):
        """Replaces the text of an edit with mouse and keyboard, presses Return and leaves the edit."""
        self.type_and_stay(edit, text)
        self.press_keys("Return", "Tab")
        wait_until(lambda: not self.edits()[edit].has_state("focused"), f"{edit} loses the focus")

    def type_and_stay(self, edit: str, text: str):
        """Replaces the text of an edit with mouse and keyboard, and waits until OBS shows all of it: key events and
        accessibility calls are not synchronised."""
        wait_until(lambda: self._typed(edit, text), lambda: f"{edit} shows what was typed: {self.values()}")

    def _typed(self, edit: str, text: str) -> bool:
        """Types once; false if the text is not shown in time. On a loaded machine a key event of xdotool is sometimes lost; the
        caller then types again."""
        self.enter(self.edits()[edit].name)
        self.press_keys("ctrl+a", "Delete")
        if text:
            self._do("type", "--clearmodifiers", text)
        try:
            return wait_until(lambda: self._shows(self.edits()[edit], text), "the text is shown", OBS_TIMEOUT_S / 6)
        except TimedOut:
            return False

    def enter(self, name: str):
        """Clicks on the control of this name until it has the focus."""
        wait_until(lambda: self._click_into(name), f"{name} has the focus")

    def press_keys(self, *keys: str):
        """Presses keys one after the other, named as in xdotool."""
        self._do("key", "--clearmodifiers", *keys)

    def tab_from(self, name: str, *, to: str | None = None, steps: int = 40) -> list:
        """Presses Tab, beginning in an edit, until a control is reached or `steps` keys were pressed. Returns the names of
        the controls that had the focus."""
        self.enter(name)
        passed = [name]
        while passed[-1] != to and len(passed) <= steps:
            before = self._focused_kind()
            self.press_keys("Tab")
            wait_until(lambda: self._focused_kind() not in (None, before), f"{passed[-1]} loses the focus")
            passed.append(self.focused())
        return passed

    def focused(self) -> str | None:
        """The name of the dock's control with the focus, if one has it."""
        element = self._focused()
        return element and element.name

    def _focused(self):
        return next((e for e in self.dock().walk() if e.has_state("focused")), None)

    def _focused_kind(self):
        # The log and its group have the same name.
        element = self._focused()
        return element and (element.role, element.name)

    def opened(self, title: str) -> Element:
        """Opens a collapsible group and returns it."""
        group = self.group(title)
        if not group.has_state("checked"):
            group.press()
            wait_until(lambda: self.group(title).has_state("checked"), f'"{title}" opens')
        return self.group(title)

    def log(self) -> list:
        """The lines of the dock's log."""
        return self.opened("Protokoll").find("text").text.split("\n")

    def wait_for_log(self, line: str, timeout_s=OBS_TIMEOUT_S):
        """Waits until a line of the dock's log contains `line`."""
        wait_until(lambda: any(line in entry for entry in self.log()),
                   lambda: f"{line!r} in the dock's log: {self.log()}", timeout_s)

    def _click_into(self, name):
        """Clicks on a control; false when it does not get the focus, for example because the panel has moved."""
        x, y, width, height = self.dock().find(name=name).box
        # Without a window manager the window under the mouse has to be focused explicitly.
        self._do("mousemove", x + width // 2, y + height // 2, "click", 1)
        window = subprocess.run(["xdotool", "getmouselocation", "--shell"], env=self._environment(), check=True,
                                capture_output=True, text=True).stdout
        self._do("windowfocus", "--sync", dict(line.split("=") for line in window.split())["WINDOW"])
        try:
            return wait_until(lambda: self.focused() == name, f"{name} has the focus", _CLICK_TIMEOUT_S)
        except TimedOut:
            return False

    @staticmethod
    def _shows(edit, text):
        # Of a masked passphrase only the length is known.
        return len(edit.text) == len(text) if edit.role == "password text" else edit.text == text

    def _do(self, *arguments):
        subprocess.run(["xdotool", *map(str, arguments)], env=self._environment(), check=True)

    def _environment(self) -> dict:
        return {"DISPLAY": self.screen.desktop.display, "PATH": "/usr/bin:/bin"}
