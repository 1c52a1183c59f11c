# SPDX-License-Identifier: GPL-2.0-or-later
"""What a user sees and presses in OBS, over the accessibility interface."""

import os
import subprocess
import time

from .wait import PATIENCE_S, wait_until
from .windowclosing import close_window

# How long an answer is awaited: in general, and in a program's first seconds.
_ANSWER_MS = (15000, 30000)
_MODAL_ANSWER_MS = 500

_atspi = None


def _accessibility(desk):
    """The AT-SPI library. It joins the session bus of the first desk that asks and stays on it: one desk a process."""
    global _atspi
    if _atspi is None:
        os.environ |= {name: value for name, value in desk.environment().items() if name != "HOME"}
        import gi
        gi.require_version("Atspi", "2.0")
        from gi.repository import Atspi
        # What stands in the cache would never change: nobody runs the event loop that its updates need.
        Atspi.get_desktop(0).set_cache_mask(Atspi.Cache.NONE)
        Atspi.set_timeout(*_ANSWER_MS)
        _atspi = Atspi
    return _atspi


class Element:
    """One thing on the screen: a button, a label, an edit, a window."""

    def __init__(self, screen, accessible):
        self.screen = screen
        self._accessible = accessible

    @property
    def role(self) -> str:
        """The kind of thing, as AT-SPI names it: "button", "label", "text", …"""
        return self._accessible.get_role_name()

    @property
    def name(self) -> str:
        """The text on it."""
        return self._accessible.get_name()

    @property
    def text(self) -> str:
        """The text in it, for edits and views."""
        return self.screen.atspi.Text.get_text(self._accessible, 0, -1)

    def has_state(self, state: str) -> bool:
        """Whether AT-SPI reports a state, as "enabled", "checked", "showing", "editable"."""
        kind = getattr(self.screen.atspi.StateType, state.upper())
        return self._accessible.get_state_set().contains(kind)

    @property
    def box(self) -> tuple:
        """Where it stands on the display: x, y, width, height in pixels."""
        extents = self._accessible.get_extents(self.screen.atspi.CoordType.SCREEN)
        return extents.x, extents.y, extents.width, extents.height

    def press(self):
        """Presses the button, triggers the menu entry, checks or unchecks the box."""
        self.screen.atspi.Action.do_action(self._accessible, 0)

    def children(self) -> list:
        """What stands directly in it."""
        found = (self._accessible.get_child_at_index(i) for i in range(self._accessible.get_child_count()))
        return [Element(self.screen, child) for child in found if child is not None]

    def walk(self):
        """It and everything in it, from the outside in."""
        yield self
        for child in self.children():
            yield from child.walk()

    def find_all(self, role: str | None = None, name: str | None = None) -> list:
        """Everything in it of that role and with that text."""
        return [e for e in self.walk() if (role is None or e.role == role) and (name is None or e.name == name)]

    def find(self, role: str | None = None, name: str | None = None):
        """The one thing in it of that role and with that text; a LookupError says what there is instead."""
        found = self.find_all(role, name)
        if not found:
            raise LookupError(f"no {role or 'element'} {name!r} in {self.role} {self.name!r}:\n{self.describe()}")
        return found[0]

    def describe(self, depth=0) -> str:
        """The tree below it, for messages."""
        lines = ["  " * depth + f"{self.role} {self.name!r}"]
        return "\n".join(lines + [child.describe(depth + 1) for child in self.children()])


class Screen:
    """The windows of one OBS process."""

    def __init__(self, desk, pid: int):
        self.desk = desk
        self.pid = pid
        self.atspi = _accessibility(desk)

    def windows(self) -> list:
        """The top-level windows that OBS shows at the moment."""
        application = self._application()
        return application.children() if application else []

    def main_window(self) -> Element:
        """OBS's main window, once it stands."""
        return wait_until(
            lambda: next((w for w in self._safe_windows() if w.role == "frame" and w.name.startswith("OBS")), None),
            lambda: f"the main window of OBS: {[(w.role, w.name) for w in self._safe_windows()]}")

    def menu_entry(self, *path: str) -> Element:
        """The entry of the menu bar below the given titles, as ("File", "Exit")."""
        place = self.main_window().find("menu bar")
        for title in path:
            below = [entry for child in place.children()
                     for entry in (child.children() if child.role == "popup menu" else [child])]
            place = next((entry for entry in below if entry.name == title), None) or _missing(place, title)
        return place

    def exit(self) -> float:
        """Chooses File > Exit, and returns the moment of it (time.monotonic)."""
        entry = self.menu_entry("File", "Exit")
        chosen = time.monotonic()
        # OBS may be gone before it answers.
        self._without_answer(entry.press)
        return chosen

    def close_main_window(self):
        """Does what a click on the cross in the main window's frame does."""
        found = subprocess.run(["xdotool", "search", "--all", "--onlyvisible", "--pid", str(self.pid), "--name", "^OBS "],
                               env={"DISPLAY": self.desk.display, "PATH": "/usr/bin:/bin"}, check=True, capture_output=True,
                               text=True).stdout.split()
        close_window(self.desk.display, int(found[0]))

    def press_and_leave(self, element: Element):
        """Presses what opens a modal window: OBS answers the press only when the window closes."""
        self.atspi.set_timeout(_MODAL_ANSWER_MS, _ANSWER_MS[1])
        self._without_answer(element.press)
        self.atspi.set_timeout(*_ANSWER_MS)

    def message_boxes(self) -> list:
        """The message boxes on the screen."""
        return [w for w in self._safe_windows() if w.role == "alert"]

    def message_box(self, timeout_s=PATIENCE_S) -> "MessageBox":
        """Waits for a message box and returns it."""
        return MessageBox(wait_until(lambda: next(iter(self.message_boxes()), None), "a message box", timeout_s))

    def screenshot(self, path, window: Element | None = None):
        """Saves a PNG of the display, or of one window's place on it."""
        crop = []
        if window is not None:
            x, y, width, height = window.box
            crop = ["-crop", f"{width}x{height}+{x}+{y}", "+repage"]
        subprocess.run(["import", "-display", self.desk.display, "-window", "root", *crop, str(path)], check=True)

    def _application(self):
        desktop = self.atspi.get_desktop(0)
        for i in range(desktop.get_child_count()):
            child = desktop.get_child_at_index(i)
            if child is not None and child.get_process_id() == self.pid:
                return Element(self, child)
        return None

    def _safe_windows(self) -> list:
        from gi.repository import GLib
        try:
            return self.windows()
        except GLib.Error:
            # A window went away between two questions.
            return []

    def _without_answer(self, action):
        from gi.repository import GLib
        try:
            action()
        except GLib.Error:
            pass


class MessageBox:
    """A warning on the screen."""

    def __init__(self, element: Element):
        self._element = element

    @property
    def title(self) -> str:
        """The title of the window."""
        return self._element.name

    @property
    def texts(self) -> list:
        """The texts in it."""
        return [label.name for label in self._element.find_all("label") if label.name]

    @property
    def buttons(self) -> list:
        """The words on its buttons."""
        return [button.name for button in self._element.find_all("button")]

    def dismiss(self):
        """Presses its first button."""
        self._element.find("button").press()


def _missing(place, title):
    raise LookupError(f"no entry {title!r}:\n{place.describe()}")
