# SPDX-License-Identifier: GPL-2.0-or-later
"""A user's keyboard on the test's screen, on which no window manager runs."""

import re
import subprocess


def press(key):
    subprocess.run(["xdotool", "key", key], check=True)


def windowWithTheKeyboard():
    """The name of the window below the pointer, where the keys go; empty when there is none."""
    result = subprocess.run(["xdotool", "getmouselocation", "--shell"], capture_output=True, text=True, check=False)
    window = re.search(r"^WINDOW=(\d+)$", result.stdout, re.MULTILINE)
    if not window:
        return ""
    result = subprocess.run(["xdotool", "getwindowname", window[1]], capture_output=True, text=True, check=False)
    return result.stdout.strip()
