# SPDX-License-Identifier: GPL-2.0-or-later
"""Keyboard input on the test's X display, which has no window manager."""

import re
import subprocess


def press(key):
    """Presses and releases a key, named as by xdotool."""
    subprocess.run(["xdotool", "key", key], check=True)


def focused_window():
    """Name of the window with the keyboard focus; empty without one. Without a window manager that is the window below the
    pointer."""
    result = subprocess.run(["xdotool", "getmouselocation", "--shell"], capture_output=True, text=True, check=False)
    window = re.search(r"^WINDOW=(\d+)$", result.stdout, re.MULTILINE)
    if not window:
        return ""
    result = subprocess.run(["xdotool", "getwindowname", window[1]], capture_output=True, text=True, check=False)
    return result.stdout.strip()
