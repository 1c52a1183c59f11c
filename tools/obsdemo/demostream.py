# SPDX-License-Identifier: GPL-2.0-or-later
"""The test stream of the demos with OBS."""

import pathlib
import shutil
import signal
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "testkit"))

from dockports import LISTEN_PORT  # noqa: E402
from teststream import MobileSender  # noqa: E402

# Seven bars; the encoder requires even widths, OBS's canvas a multiple of four.
PATTERN = (644, 362)
PICTURE_TIMEOUT_S = 60

_PATTERN_RATE = 25
_PATTERN_KBIT = 2500
_LINKS = 3


class DemoError(Exception):
    """The demo failed; the text is the reason."""


def prepare(folder: pathlib.Path) -> pathlib.Path:
    """Creates an empty folder, after deleting that of an earlier demo, and returns its absolute path. Afterwards SIGINT and
    SIGTERM raise KeyboardInterrupt, so that all programs are ended."""
    for ending in (signal.SIGINT, signal.SIGTERM):
        signal.signal(ending, signal.default_int_handler)
    folder = folder.resolve()
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    return folder


def make_sender(folder: pathlib.Path) -> MobileSender:
    """The sender of the test stream as a context manager; its logs go to `folder`."""
    say(f"Sending a test picture: ffmpeg, SRT, {_LINKS} bonded links, the plug-in, OBS's media source.")
    return MobileSender(folder, LISTEN_PORT, links=_LINKS, shown=sys.stdout.isatty(), bitrate_kbit=_PATTERN_KBIT,
                        size=PATTERN, rate=_PATTERN_RATE)


def port_taken() -> DemoError:
    """The error for a receiver that could not start."""
    return DemoError(f"The receiver in OBS could not start: UDP port {LISTEN_PORT} is taken, perhaps by another OBS.")


def no_picture(timeout_s: float, dock_log: list, obs_log) -> DemoError:
    """The error for a picture that did not arrive in time; `obs_log` is the path of OBS's log."""
    lines = "".join(f"\n  {line}" for line in dock_log)
    return DemoError(f"No picture within {timeout_s:g} s. The dock's log:{lines}\nOBS's log: {obs_log}")


def say(text: str):
    """Prints a line at once."""
    print(text, flush=True)
