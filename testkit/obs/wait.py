# SPDX-License-Identifier: GPL-2.0-or-later
"""Waiting for a condition instead of for a time."""

import time

# A loaded two-core machine renders OBS in software beside a compiler: what takes a second alone may take ten times that.
PATIENCE_S = 60.0

_POLL_S = 0.05


class TimedOut(AssertionError):
    """A condition did not come true; the text says which."""


def wait_until(condition, what, timeout_s=PATIENCE_S, poll_s=_POLL_S):
    """Calls `condition` until it returns something true, and returns that. Raises TimedOut, naming `what`, after
    `timeout_s` seconds; `what` may be a function that words the state at that moment."""
    deadline = time.monotonic() + timeout_s
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() >= deadline:
            text = what() if callable(what) else what
            raise TimedOut(f"not within {timeout_s:g} s: {text}")
        time.sleep(poll_s)
