# SPDX-License-Identifier: GPL-2.0-or-later
"""The windows and controls of OBS over the accessibility interface."""

import os
import subprocess
import time

from timelimits import OBS_TIMEOUT_S
from wait import wait_until

from .windowclosing import close_window

# Time limits for a reply: in general, and during the start of a program.
_REPLY_TIMEOUTS_MS = (15000, 30000)
# The reply to an action that opens a modal window is not waited for.
_MODAL_REPLY_TIMEOUT_MS = 500

_atspi = None


def _accessibility(desktop):
    """The AT-SPI library. It stays connected to the session bus of the first desktop: one desktop per process."""
    global _atspi
    if _atspi is None:
        os.environ |= {name: value for name, value in desktop.environment().items() if name != "HOME"}
        import gi
        gi.require_version("Atspi", "2.0")
        from gi.repository import Atspi
        # The cache would never be updated, because no event loop runs.
        Atspi.get_desktop(0).set_cache_mask(Atspi.Cache.NONE)
        Atspi.set_timeout(*_REPLY_TIMEOUTS_MS)
        _atspi = Atspi
    return _atspi


class Element:
    """An element on the screen: a button, a label, an edit, a window."""

    def __init__(self, screen, accessible):
        self.screen = screen
        self._accessible = accessible

    @property
    def role(self) -> str:
        """The role in AT-SPI: "button", "label", "text", …"""
        return self._accessible.get_role_name()

    @property
    def name(self) -> str:
        """The accessible name."""
        return self._accessible.get_name()

    @property
    def text(self) -> str:
        """The text of an edit or view."""
        return self.screen.atspi.Text.get_text(self._accessible, 0, -1)

    def has_state(self, state: str) -> bool:
        """Whether AT-SPI reports a state, as "enabled", "checked", "showing", "editable"."""
        kind = getattr(self.screen.atspi.StateType, state.upper())
        return self._accessible.get_state_set().contains(kind)

    @property
    def box(self) -> tuple:
        """The area on the display: x, y, width, height in pixels."""
        extents = self._accessible.get_extents(self.screen.atspi.CoordType.SCREEN)
        return extents.x, extents.y, extents.width, extents.height

    def press(self):
        """Presses the button, triggers the menu entry, checks or unchecks the box."""
        self.screen.atspi.Action.do_action(self._accessible, 0)

    def children(self) -> list:
        """The child elements."""
        found = (self._accessible.get_child_at_index(i) for i in range(self._accessible.get_child_count()))
        return [Element(self.screen, child) for child in found if child is not None]

    def walk(self):
        """The element and all elements below it, parents first."""
        yield self
        for child in self.children():
            yield from child.walk()

    def find_all(self, role: str | None = None, name: str | None = None) -> list:
        """All elements below it with the role and text."""
        return [e for e in self.walk() if (role is None or e.role == role) and (name is None or e.name == name)]

    def find(self, role: str | None = None, name: str | None = None):
        """The first element below it with the role and text; without one, raises LookupError with the existing elements."""
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

    def __init__(self, desktop, pid: int):
        self.desktop = desktop
        self.pid = pid
        self.atspi = _accessibility(desktop)

    def windows(self) -> list:
        """The visible top-level windows of OBS."""
        application = self._application()
        return application.children() if application else []

    def main_window(self) -> Element:
        """Waits for OBS's main window and returns it."""
        return wait_until(
            lambda: next((w for w in self._safe_windows() if w.role == "frame" and w.name.startswith("OBS")), None),
            lambda: f"the main window of OBS: {[(w.role, w.name) for w in self._safe_windows()]}")

    def menu_entry(self, *path: str) -> Element:
        """The menu entry with the given path, for example ("File", "Exit")."""
        place = self.main_window().find("menu bar")
        for title in path:
            below = [entry for child in place.children()
                     for entry in (child.children() if child.role == "popup menu" else [child])]
            place = next((entry for entry in below if entry.name == title), None) or _missing(place, title)
        return place

    def exit(self) -> float:
        """Chooses File > Exit and returns the time of the choice (time.monotonic)."""
        entry = self.menu_entry("File", "Exit")
        chosen = time.monotonic()
        # OBS may end before it replies.
        self._ignore_missing_reply(entry.press)
        return chosen

    def close_main_window(self):
        """Closes the main window as its close button does."""
        found = subprocess.run(["xdotool", "search", "--all", "--onlyvisible", "--pid", str(self.pid), "--name", "^OBS "],
                               env={"DISPLAY": self.desktop.display, "PATH": "/usr/bin:/bin"}, check=True, capture_output=True,
                               text=True).stdout.split()
        close_window(self.desktop.display, int(found[0]))

    def press_and_leave(self, element: Element):
        """Presses an element that opens a modal window: OBS replies only when that window is closed."""
        self.atspi.set_timeout(_MODAL_REPLY_TIMEOUT_MS, _REPLY_TIMEOUTS_MS[1])
        self._ignore_missing_reply(element.press)
        self.atspi.set_timeout(*_REPLY_TIMEOUTS_MS)

    def message_boxes(self) -> list:
        """The visible message boxes."""
        return [w for w in self._safe_windows() if w.role == "alert"]

    def message_box(self, timeout_s=OBS_TIMEOUT_S) -> "MessageBox":
        """Waits for a message box and returns it."""
        return MessageBox(wait_until(lambda: next(iter(self.message_boxes()), None), "a message box", timeout_s))

    def screenshot(self, path, window: Element | None = None):
        """Saves a PNG of the display or of one window's area."""
        crop = []
        if window is not None:
            x, y, width, height = window.box
            crop = ["-crop", f"{width}x{height}+{x}+{y}", "+repage"]
        subprocess.run(["import", "-display", self.desktop.display, "-window", "root", *crop, str(path)], check=True)

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
            # A window was closed between two calls.
            return []

    def _ignore_missing_reply(self, action):
        from gi.repository import GLib
        try:
            action()
        except GLib.Error:
            pass


class MessageBox:
    """A visible message box."""

    def __init__(self, element: Element):
        self._element = element

    @property
    def title(self) -> str:
        """The title of the window."""
        return self._element.name

    @property
    def texts(self) -> list:
        """Its texts."""
        return [label.name for label in self._element.find_all("label") if label.name]

    @property
    def buttons(self) -> list:
        """The texts of its buttons."""
        return [button.name for button in self._element.find_all("button")]

    def dismiss(self):
        """Presses its first button."""
        self._element.find("button").press()


def _missing(place, title):
    raise LookupError(f"no entry {title!r}:\n{place.describe()}")
