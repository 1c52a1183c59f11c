# SPDX-License-Identifier: GPL-2.0-or-later
"""Waiting for conditions."""

import time

from timelimits import OBS_TIMEOUT_S

_POLL_S = 0.05


class TimedOut(AssertionError):
    """A condition was not met in time; the text names it."""


def wait_until(condition, what, timeout_s=OBS_TIMEOUT_S, poll_s=_POLL_S):
    """Calls `condition` until its result is true and returns the result. Raises TimedOut with the text `what` after
    `timeout_s` seconds; `what` may be a function that returns the text."""
    deadline = time.monotonic() + timeout_s
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() >= deadline:
            text = what() if callable(what) else what
            raise TimedOut(f"not within {timeout_s:g} s: {text}")
        time.sleep(poll_s)
